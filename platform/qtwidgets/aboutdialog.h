#pragma once

// The about box: the product, its version and years, and the versions of the libraries it runs
// on (Qt, Aravis, FFmpeg, OpenCV, libtiff, Boost, log4cpp).
// Thread: GUI only.

#include <QDialog>

#include <memory>

namespace Ui {
class AboutDialog;
}

class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDialog(QWidget* parent = nullptr);
    ~AboutDialog() override;

    // The text of the library versions, as shown.
    QString versionsText() const;

private:
    std::unique_ptr<Ui::AboutDialog> m_ui;
};
