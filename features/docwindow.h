#pragma once

// The "Feature Documentation" dock: the selected feature's display name, tool tip,
// description, node name and interface type, an enumeration's possible values, and how to set
// and read the feature from a program (the camera SDK's parameter classes), from tarpo-cli and
// through Aravis. Also shows free text the feature tree sends.
// Thread: GUI only.

#include <QDockWidget>

class QTextEdit;

namespace GenApi {
class INode;
}

class DocWindow : public QDockWidget
{
    Q_OBJECT

public:
    explicit DocWindow(const QString& title, QWidget* parent = nullptr,
                       Qt::WindowFlags flags = Qt::WindowFlags());

    QTextEdit* textEdit() const { return m_textEdit; }
    QSize sizeHint() const override;

    // The documentation of `node` as HTML; empty for null.
    static QString documentation(GenApi::INode* node);
    // The C++ sample lines ("camera.Width.SetValue(640);<br/>..."); empty when the node's map
    // carries no root marker.
    static QString sampleCode(GenApi::INode* node);

public slots:
    void onCurrentChanged(GenApi::INode* pCurrentNode);
    void onNewText(QString text);

private:
    QTextEdit* m_textEdit;
};
