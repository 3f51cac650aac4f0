#include "trace/trace.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

// Checks that traces are silent until configured and then reach the configured appender
// with the "entering..." / "leaving..." texts of the scope macro.
class tst_Trace : public QObject
{
    Q_OBJECT

private slots:
    void offByDefault();
    void scopeWritesEnteringAndLeaving();
    void badPropertiesFileIsReported();
};

void tst_Trace::offByDefault()
{
    qunsetenv("TARPO_LOG4CPP");
    QVERIFY(!TarpoViewer::Trace::initialize());
    int evaluated = 0;
    TARPO_TRACE("Camera", "%d", ++evaluated);
    QCOMPARE(evaluated, 0); // arguments are not evaluated while tracing is off
}

void tst_Trace::scopeWritesEnteringAndLeaving()
{
    QTemporaryDir dir;
    const QString logFile = dir.filePath("trace.log");
    const QString props = dir.filePath("log4cpp.properties");
    QFile f(props);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(QString("log4cpp.rootCategory=DEBUG, A\n"
                    "log4cpp.appender.A=org.apache.log4j.FileAppender\n"
                    "log4cpp.appender.A.fileName=%1\n"
                    "log4cpp.appender.A.layout=org.apache.log4j.PatternLayout\n"
                    "log4cpp.appender.A.layout.ConversionPattern=%c %m%n\n")
                .arg(logFile)
                .toUtf8());
    f.close();
    std::string error;
    QVERIFY2(TarpoViewer::Trace::configureFromFile(props.toStdString(), &error), error.c_str());
    {
        TARPO_TRACE_SCOPE("Camera", "Camera::open");
        TARPO_TRACE("Recording", "frames %d", 3);
    }
    TarpoViewer::Trace::disable();
    TARPO_TRACE("Camera", "after disable");

    QFile log(logFile);
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(log.readAll()).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines, QStringList({"tarpoViewer.Camera Camera::open: entering...",
                                 "tarpoViewer.Recording frames 3",
                                 "tarpoViewer.Camera Camera::open: leaving..."}));
}

void tst_Trace::badPropertiesFileIsReported()
{
    std::string error;
    QVERIFY(!TarpoViewer::Trace::configureFromFile("/nonexistent/log4cpp.properties", &error));
    QVERIFY(!error.empty());
}

QTEST_APPLESS_MAIN(tst_Trace)
#include "tst_trace.moc"
