// Entry point of the viewer: checks the libraries it loads at run time, sets up Qt and the
// camera layer, shows the main window and runs the event loop.

#include "app/librarycheck.h"
#include "app/myapplication.h"
#include "mainwindow/tarpoviewerapp.h"
#include "tarpo/tlfactory.h"
#include "trace/trace.h"

#include <QIcon>
#include <QMessageBox>
#include <QStyle>
#include <QStyleFactory>

#include <cstdio>
#include <cstdlib>

namespace {

// Fatal messages end the program; the others are for developers, who find them in the traces.
void messageHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const QByteArray text = message.toLocal8Bit();
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "Fatal: %s (%s:%u, %s)\n", text.constData(),
                     context.file ? context.file : "", unsigned(context.line),
                     context.function ? context.function : "");
        std::abort();
    }
    TarpoViewer::Trace::debug("Qt", "%s", text.constData());
}

QIcon applicationIcon()
{
    QIcon icon;
    for (int size : {256, 128, 64, 48, 32, 24, 16})
        icon.addFile(QString(":/TarpoViewerApp/Resources/Icon_%1x%1.png").arg(size), QSize(),
                     QIcon::Normal, QIcon::Off);
    return icon;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication::setApplicationName("Tarpo Viewer");
    QCoreApplication::setApplicationVersion(TARPO_VERSION);
    QCoreApplication::setOrganizationName("Morvex");
    QCoreApplication::setOrganizationDomain("morvex.com");
    TarpoViewer::Trace::initialize();
    qInstallMessageHandler(messageHandler);
    Tarpo::TarpoAutoInitTerm autoInitTerm;

    MyApplication app(argc, argv);
    const QString missing = findMissingLibrary();
    if (!missing.isEmpty()) {
        const QString text = missingLibraryText(missing);
        std::fprintf(stderr, "%s\n", qPrintable(text));
        QMessageBox::critical(nullptr, "Tarpo Viewer", text);
        return kMissingLibraryExitCode;
    }
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() + "/plugins");
    qDebug("Available styles: %s", qPrintable(QStyleFactory::keys().join(", ")));
    qDebug("Current style: %s", qPrintable(QApplication::style()->objectName()));
    qDebug("Current font FamilyName: %s", qPrintable(QApplication::font().family()));

    int result = 0;
    {
        TarpoViewerApp window;
        QApplication::setWindowIcon(applicationIcon());
        window.setWindowIcon(applicationIcon());
        QString title = window.windowTitle() + " 64-Bit";
        if (window.multicastMonitorMode())
            title += " (Multicast Monitor)";
        window.setWindowTitle(title);
        window.show();
        QObject::connect(&app, &QApplication::lastWindowClosed, &app, &QApplication::quit);
        result = app.exec();
    }
    return result == 0 ? 0 : 1;
}
