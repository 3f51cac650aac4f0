#include "app/librarycheck.h"
#include "app/myapplication.h"
#include "genapi/genicamexception.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <stdexcept>

namespace {

QStringList g_warnings;

void collectWarnings(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtWarningMsg)
        g_warnings << message;
}

} // namespace

// The application object keeps running after an event handler throws, and the check of the
// libraries loaded at run time names the first one that is missing.
class tst_MyApplication : public QObject
{
    Q_OBJECT

private slots:
    void exceptionInEventHandlerDoesNotEndTheProgram_data();
    void exceptionInEventHandlerDoesNotEndTheProgram();
    void missingLibrary_data();
    void missingLibrary();
};

void tst_MyApplication::exceptionInEventHandlerDoesNotEndTheProgram_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("info");
    QTest::newRow("genicam") << 0 << "Additional info: 'node not found'";
    QTest::newRow("standard") << 1 << "Additional info: 'bad value'";
    QTest::newRow("unknown") << 2 << QString();
}

void tst_MyApplication::exceptionInEventHandlerDoesNotEndTheProgram()
{
    QFETCH(int, kind);
    QFETCH(QString, info);
    g_warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectWarnings);
    bool laterEventRan = false;
    QTimer::singleShot(0, qApp, [kind] {
        if (kind == 0)
            throw GenICam::GenericException("node not found", __FILE__, __LINE__);
        if (kind == 1)
            throw std::runtime_error("bad value");
        throw 42;
    });
    QTimer::singleShot(10, qApp, [&laterEventRan] { laterEventRan = true; });
    QTRY_VERIFY(laterEventRan);
    qInstallMessageHandler(previous);
    QVERIFY(!g_warnings.isEmpty());
    QVERIFY(
        g_warnings.first().startsWith("An unexpected exception occurred in an event handler (id="));
    QCOMPARE(g_warnings.size(), info.isEmpty() ? 1 : 2);
    if (!info.isEmpty())
        QCOMPARE(g_warnings.last(), info);
}

void tst_MyApplication::missingLibrary_data()
{
    QTest::addColumn<QString>("moduleFile");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("missing");
    QTest::newRow("nothing-configured") << QString() << QString() << QString();
    QTest::newRow("broken-module") << "libbroken.so" << QString() << "libbroken.so";
    QTest::newRow("extension-not-found") << QString() << "NoSuchConverter"
                                         << "NoSuchConverter";
}

void tst_MyApplication::missingLibrary()
{
    QFETCH(QString, moduleFile);
    QFETCH(QString, extension);
    QFETCH(QString, missing);
    QTemporaryDir plugins;
    if (!moduleFile.isEmpty()) {
        QFile module(plugins.filePath(moduleFile));
        QVERIFY(module.open(QIODevice::WriteOnly));
        module.write("not a shared object");
    }
    qputenv("TARPO_PLUGIN_PATH", plugins.path().toLocal8Bit());
    qputenv("TARPO_EXTENSION_PLUGIN", extension.toLocal8Bit());
    QCOMPARE(findMissingLibrary(), missing);
    qunsetenv("TARPO_EXTENSION_PLUGIN");
    qunsetenv("TARPO_PLUGIN_PATH");
    if (!missing.isEmpty())
        QVERIFY(missingLibraryText(missing).startsWith(
            QString("The DLL '%1' or one of its dependencies could not be found.").arg(missing)));
}

int main(int argc, char** argv)
{
    MyApplication app(argc, argv);
    tst_MyApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_myapplication.moc"
