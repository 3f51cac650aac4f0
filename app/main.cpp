// Entry point of the viewer. Until the main window lands, it shows the cameras the camera layer
// finds (the emulated ones when no camera is attached) and the layers built so far.

#include "tarpo/tlfactory.h"
#include "trace/trace.h"

#include <QApplication>
#include <QFutureWatcher>
#include <QLabel>
#include <QMainWindow>
#include <QStringList>
#include <QtConcurrent>

namespace {

// Runs on a worker thread: GigE discovery takes about a second.
QStringList findCameras()
{
    QStringList cameras;
    try {
        Tarpo::DeviceInfoList_t devices;
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
    return cameras;
}

QString pageText(const QString& cameras)
{
    return "<h2>Tarpo Viewer</h2><p>Built so far: GenICam node maps, the camera layer, the "
           "camera emulator, the acquisition pipeline and the image display (try "
           "<tt>tarpo-cli grab</tt>). The main window with feature tree and recording follows.</p>"
           "<h3>Cameras</h3>" +
           cameras;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication::setApplicationName("Tarpo Viewer");
    QCoreApplication::setOrganizationName("Morvex");
    TarpoViewer::Trace::initialize();
    Tarpo::TarpoAutoInitTerm autoInitTerm;
    QApplication app(argc, argv);

    QMainWindow window;
    window.setWindowTitle("Tarpo Viewer 64-Bit");
    auto* label = new QLabel(&window);
    label->setMargin(16);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label->setText(pageText("<p><i>Looking for cameras…</i></p>"));
    window.setCentralWidget(label);
    window.resize(640, 360);
    window.show();

    QFutureWatcher<QStringList> search;
    // worker thread -> GUI thread, queued by the watcher
    QObject::connect(&search, &QFutureWatcher<QStringList>::finished, label, [&search, label] {
        label->setText(pageText("<ul><li>" + search.result().join("</li><li>") + "</li></ul>"));
    });
    search.setFuture(QtConcurrent::run(findCameras));
    const int result = app.exec();
    search.waitForFinished();
    return result == 0 ? 0 : 1;
}
