// Entry point of the viewer. Until the main window lands, it shows the cameras the camera layer
// finds (the emulated ones when no camera is attached) and the layers built so far.

#include "tarpo/tlfactory.h"
#include "trace/trace.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QStringList>

int main(int argc, char* argv[])
{
    QCoreApplication::setApplicationName("Tarpo Viewer");
    QCoreApplication::setOrganizationName("Morvex");
    TarpoViewer::Trace::initialize();
    Tarpo::TarpoAutoInitTerm autoInitTerm;
    QApplication app(argc, argv);

    QStringList cameras;
    Tarpo::DeviceInfoList_t devices;
    try {
        Tarpo::CTlFactory::GetInstance().EnumerateDevices(devices);
        for (const Tarpo::CDeviceInfo& info : devices)
            cameras << QString("%1 — %2")
                           .arg(QString::fromStdString(info.GetDeviceClass()),
                                QString::fromStdString(info.GetFriendlyName()))
                           .toHtmlEscaped();
    } catch (const std::exception& e) {
        cameras << QString("Device enumeration failed: %1").arg(e.what()).toHtmlEscaped();
    }
    if (cameras.isEmpty())
        cameras << "No camera found.";

    QMainWindow window;
    window.setWindowTitle("Tarpo Viewer 64-Bit");
    auto* label = new QLabel(&window);
    label->setMargin(16);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label->setText("<h2>Tarpo Viewer</h2><p>Built so far: GenICam node maps, the camera layer, the "
                   "camera emulator and the acquisition pipeline (try <tt>tarpo-cli grab</tt>). "
                   "The main window with live view, feature tree and recording follows.</p>"
                   "<h3>Cameras</h3><ul><li>" +
                   cameras.join("</li><li>") +
                   "</li></ul>");
    window.setCentralWidget(label);
    window.resize(640, 360);
    window.show();
    return app.exec() == 0 ? 0 : 1;
}
