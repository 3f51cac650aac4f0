#pragma once

// Asks for the IP address of a GigE camera in another subnet, which discovery broadcasts do not
// reach: OK is enabled only for a complete IPv4 address.
// Thread: GUI only.

#include <QDialog>

#include <memory>

namespace Ui {
class CameraIpDialog;
}

class CUnicastCreateDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CUnicastCreateDialog(QWidget* parent = nullptr);
    ~CUnicastCreateDialog() override;

    QString ipAddress() const { return m_ipAddress; }
    void setIpAddress(const QString& address);
    Ui::CameraIpDialog* ui() const { return m_ui.get(); }

public slots:
    void on_lineEdit_textChanged(const QString& text);

private:
    std::unique_ptr<Ui::CameraIpDialog> m_ui;
    QString m_ipAddress;
};
