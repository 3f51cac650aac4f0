#include "../tarpo/discoveryportblocker.h"
#include "../tarpo/fakecameraprocess.h"
#include "clirun.h"

#include <QtTest>

// tarpo-cli against Aravis' fake GigE camera in a child process (the test runs in a private
// network namespace): what each command prints, its exit status (0 success, 1 failure,
// 2 usage error) and its one-line message on failure.
class tst_GigeCli : public QObject
{
    Q_OBJECT

private:
    using Run = CliRun;
    std::unique_ptr<FakeCameraProcess> m_camera;

    static Run cli(const QStringList& args)
    {
        return runCli(args, "0", 30000); // only the fake camera
    }

    void startCamera(const QString& serialNumber)
    {
        m_camera = std::make_unique<FakeCameraProcess>(serialNumber);
        QVERIFY2(m_camera->start(), qPrintable(m_camera->errorString()));
    }

private slots:
    void initTestCase() { startCamera("GVCLI"); }

    void commandsReport_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("out"); // a pattern per line
        QTest::addColumn<QString>("err");     // pattern of the one line; empty: no message
        const QStringList none;
        QTest::newRow("list")
            << QStringList{"list"} << 0
            << QStringList{"^MorvexGigE\tAravis-Fake-GVCLI\tFake \\(GVCLI\\)\tGVCLI$"} << "";
        QTest::newRow("get-by-full-name")
            << QStringList{"get", "-d", "Aravis-Fake-GVCLI", "Width", "Height"} << 0
            << QStringList{"^Width=512$", "^Height=512$"} << "";
        QTest::newRow("get-by-serial-number") << QStringList{"get", "-d", "GVCLI", "PixelFormat"}
                                              << 0 << QStringList{"^PixelFormat=Mono8$"} << "";
        QTest::newRow("get-by-friendly-name")
            << QStringList{"get", "--device", "Fake (GVCLI)", "SensorWidth"} << 0
            << QStringList{"^SensorWidth=2048$"} << "";
        QTest::newRow("get-transport-layer")
            << QStringList{"get", "-d", "GVCLI", "-m", "tl", "GevCurrentIPAddress"} << 0
            << QStringList{"^GevCurrentIPAddress=127\\.0\\.0\\.1$"} << "";
        QTest::newRow("get-stream-parameter")
            << QStringList{"get", "-d", "GVCLI", "-m", "stream", "PayloadSize", "MaxNumBuffer"} << 0
            << QStringList{"^PayloadSize=262144$", "^MaxNumBuffer=\\d+$"} << "";
        QTest::newRow("get-unknown-feature")
            << QStringList{"get", "-d", "GVCLI", "Nope"} << 1 << none
            << "^tarpo-cli: Feature 'Nope' not found on camera "
               "'Aravis-Fake-GVCLI'\n$";
        QTest::newRow("get-unknown-camera") << QStringList{"get", "-d", "NOPE", "Width"} << 1
                                            << none << "^tarpo-cli: Camera 'NOPE' not found\n$";
        QTest::newRow("set-out-of-range") << QStringList{"set", "-d", "GVCLI", "Width=99999"} << 1
                                          << none << "^tarpo-cli: .*Width.*\n$";
        QTest::newRow("set-unknown-entry")
            << QStringList{"set", "-d", "GVCLI", "PixelFormat=Mono99"} << 1 << none
            << "^tarpo-cli: .*Mono99.*\n$";
        QTest::newRow("set-read-only") << QStringList{"set", "-d", "GVCLI", "SensorWidth=100"} << 1
                                       << none << "^tarpo-cli: .*\n$";
        QTest::newRow("set-without-value") << QStringList{"set", "-d", "GVCLI", "Width"} << 2
                                           << none << "^tarpo-cli: set: 'Width' is not .*\n$";
        QTest::newRow("get-without-device")
            << QStringList{"get", "Width"} << 2 << none << "^tarpo-cli: get: which camera\\?.*\n$";
        QTest::newRow("unknown-option") << QStringList{"list", "--fast"} << 2 << none
                                        << "^tarpo-cli: list: unknown option --fast.*\n$";
        QTest::newRow("no-command") << QStringList{} << 2 << none << "^tarpo-cli: no command.*\n$";
        QTest::newRow("unknown-command") << QStringList{"frobnicate"} << 2 << none
                                         << "^tarpo-cli: unknown command 'frobnicate'.*\n$";
        QTest::newRow("add-ip-not-an-address") << QStringList{"add-ip", "1.2.3"} << 2 << none
                                               << "^tarpo-cli: '1\\.2\\.3' is not an IPv4.*\n$";
        QTest::newRow("add-ip-nobody-there")
            << QStringList{"add-ip", "127.0.0.9"} << 1 << none
            << "^tarpo-cli: No GigE Vision camera answers at 127\\.0\\.0\\.9\n$";
        QTest::newRow("version") << QStringList{"--version"} << 0
                                 << QStringList{"^tarpo-cli \\d+\\.\\d+\\.\\d+$"} << "";
    }

    void commandsReport()
    {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QStringList, out);
        QFETCH(QString, err);
        const Run run = cli(args);
        QVERIFY2(run.exitCode == exitCode,
                 qPrintable(QString("exit %1: %2").arg(run.exitCode).arg(run.err)));
        QCOMPARE(run.out.size(), out.size());
        for (int i = 0; i < out.size(); ++i)
            QVERIFY2(QRegularExpression(out[i]).match(run.out[i]).hasMatch(),
                     qPrintable(run.out[i]));
        if (err.isEmpty())
            QCOMPARE(run.err, QString());
        else
            QVERIFY2(QRegularExpression(err).match(run.err).hasMatch(), qPrintable(run.err));
    }

    void helpNamesEveryCommand()
    {
        const Run run = cli({"--help"});
        QCOMPARE(run.exitCode, 0);
        const QString text = run.out.join('\n');
        for (const char* command : {"list", "features", "get", "set", "add-ip"})
            QVERIFY2(text.contains(QString("\n  ") + command), command);
        QCOMPARE(cli({"get", "--help"}).exitCode, 0);
    }

    void setReachesTheCamera_data()
    {
        QTest::addColumn<QStringList>("map");
        QTest::addColumn<QStringList>("assignments");
        QTest::addColumn<QStringList>("restore");
        QTest::newRow("device-features-in-order")
            << QStringList{} << QStringList{"Width=256", "PixelFormat=Mono16"}
            << QStringList{"Width=512", "PixelFormat=Mono8"};
        QTest::newRow("transport-layer")
            << QStringList{"-m", "tl"} << QStringList{"GevSCPSPacketSize=1200"}
            << QStringList{"GevSCPSPacketSize=1400"};
    }

    void setReachesTheCamera()
    {
        QFETCH(QStringList, map);
        QFETCH(QStringList, assignments);
        QFETCH(QStringList, restore);
        const QStringList device = QStringList{"-d", "GVCLI"} + map;
        const Run set = cli(QStringList{"set"} + device + assignments);
        QCOMPARE(set.exitCode, 0);
        QCOMPARE(set.out, assignments);

        // A new process, a new connection: the values are the camera's now.
        QStringList names;
        for (const QString& assignment : assignments)
            names << assignment.section('=', 0, 0);
        const Run get = cli(QStringList{"get"} + device + names);
        QCOMPARE(get.exitCode, 0);
        QCOMPARE(get.out, assignments);
        QCOMPARE(cli(QStringList{"set"} + device + restore).exitCode, 0);
    }

    void featuresShowsTheTree()
    {
        const Run run = cli({"features", "-d", "GVCLI"});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains("ImageFormatControl"));
        QVERIFY(run.out.contains("  Width\tInteger\tRW\t512"));
        QVERIFY(run.out.contains("  SensorWidth\tInteger\tRO\t2048"));
        QVERIFY(run.out.contains("  PixelFormat\tEnumeration\tRW\tMono8"));
        QVERIFY(run.out.contains("  AcquisitionStart\tCommand\tWO\t"));
        // Every line is a category or a feature with kind, access and value.
        for (const QString& line : run.out)
            QVERIFY2(!line.contains('\t') || line.count('\t') == 3, qPrintable(line));
    }

    void addIpReachesCameraBroadcastMisses()
    {
        m_camera.reset();
        DiscoveryPortBlocker blocker;
        QVERIFY(blocker.isBound());
        startCamera("GVCLU");
        QCOMPARE(cli({"list"}).out, QStringList());
        const Run run = cli({"add-ip", "127.0.0.1"});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringList{"MorvexGigE\tAravis-Fake-GVCLU\tFake (GVCLU)\tGVCLU"});
    }
};

QTEST_GUILESS_MAIN(tst_GigeCli)
#include "tst_gigecli.moc"
