// labels: netns
// tarpo-cli on emulated cameras: `list` shows as many as TARPO_CAMEMU asks for, `get` and `set`
// reach their features in each of the three node maps, and refusals come back as failures with
// a message.

#include "clirun.h"

#include <QRegularExpression>
#include <QtTest>

class tst_CliEmu : public QObject
{
    Q_OBJECT

private:
    using Run = CliRun;
    static Run cli(const QStringList& args, const QString& cameraCount = "2")
    {
        return runCli(args, cameraCount, 30000);
    }

    static QStringList emulated(const QStringList& lines)
    {
        return lines.filter(QRegularExpression("^MorvexCamEmu\t"));
    }

private slots:
    void list_data()
    {
        QTest::addColumn<QString>("cameraCount");
        QTest::addColumn<int>("expected");
        QTest::addColumn<bool>("warns");

        QTest::newRow("none") << "0" << 0 << false;
        QTest::newRow("one") << "1" << 1 << false;
        QTest::newRow("three") << "3" << 3 << false;
        QTest::newRow("junk-gives-two") << "many" << 2 << true;
    }

    void list()
    {
        QFETCH(QString, cameraCount);
        QFETCH(int, expected);
        QFETCH(bool, warns);
        const Run run = cli({"list"}, cameraCount);
        QCOMPARE(run.exitCode, 0);
        const QStringList lines = emulated(run.out);
        QCOMPARE(lines.size(), expected);
        for (int i = 0; i < expected; ++i) {
            const QString serial = QString("EMU%1").arg(i + 1, 4, 10, QChar('0'));
            QCOMPARE(lines[i], QString("MorvexCamEmu\tMorvex-EmulatedCamera-%1\tEmulated Camera "
                                       "(%1)\t%1")
                                   .arg(serial));
        }
        QCOMPARE(run.err.contains("TARPO_CAMEMU"), warns);
    }

    void commands_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("out"); // a pattern per line
        QTest::addColumn<QString>("err");     // pattern of the message; empty: none
        const QStringList none;

        QTest::newRow("get-by-serial-number")
            << QStringList{"get", "-d", "EMU0002", "Width", "DeviceModelName", "PixelFormat"} << 0
            << QStringList{"^Width=1920$", "^DeviceModelName=Emulated Camera$",
                           "^PixelFormat=Mono8$"}
            << "";
        QTest::newRow("get-by-full-name")
            << QStringList{"get", "-d", "Morvex-EmulatedCamera-EMU0001", "DeviceSerialNumber"} << 0
            << QStringList{"^DeviceSerialNumber=EMU0001$"} << "";
        QTest::newRow("get-by-friendly-name")
            << QStringList{"get", "-d", "Emulated Camera (EMU0002)", "SensorHeight"} << 0
            << QStringList{"^SensorHeight=1200$"} << "";
        QTest::newRow("get-transport-layer")
            << QStringList{"get", "-d", "EMU0001", "-m", "tl", "TLParamsLocked", "PayloadSize"} << 0
            << QStringList{"^TLParamsLocked=0$", "^PayloadSize=2304000$"} << "";
        QTest::newRow("get-stream-parameters")
            << QStringList{"get",
                           "-d",
                           "EMU0001",
                           "-m",
                           "stream",
                           "MaxNumBuffer",
                           "StatisticTotalBufferCount"}
            << 0 << QStringList{"^MaxNumBuffer=16$", "^StatisticTotalBufferCount=0$"} << "";
        QTest::newRow("set-several")
            << QStringList{"set",
                           "-d",
                           "EMU0001",
                           "Width=640",
                           "PixelFormat=RGB8",
                           "ExposureTime=2500"}
            << 0 << QStringList{"^Width=640$", "^PixelFormat=RGB8$", "^ExposureTime=2500"} << "";
        QTest::newRow("set-out-of-range") << QStringList{"set", "-d", "EMU0001", "Width=641"} << 1
                                          << none << "^tarpo-cli: .*Width.*\n$";
        QTest::newRow("set-read-only") << QStringList{"set", "-d", "EMU0001", "SensorWidth=640"}
                                       << 1 << none << "^tarpo-cli: .*SensorWidth.*\n$";
        QTest::newRow("set-unknown-entry")
            << QStringList{"set", "-d", "EMU0002", "PixelFormat=Mono99"} << 1 << none
            << "^tarpo-cli: .*Mono99.*\n$";
        QTest::newRow("get-camera-turned-off")
            << QStringList{"get", "-d", "EMU0003", "Width"} << 1 << none
            << "^tarpo-cli: Camera 'EMU0003' not found\n$";
    }

    void commands()
    {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QStringList, out);
        QFETCH(QString, err);
        const Run run = cli(args);
        QCOMPARE(run.exitCode, exitCode);
        QCOMPARE(run.out.size(), out.size());
        for (int i = 0; i < out.size(); ++i)
            QVERIFY2(QRegularExpression(out[i]).match(run.out[i]).hasMatch(),
                     qPrintable(run.out[i]));
        if (err.isEmpty())
            QVERIFY2(run.err.isEmpty(), qPrintable(run.err));
        else
            QVERIFY2(QRegularExpression(err).match(run.err).hasMatch(), qPrintable(run.err));
    }
};

QTEST_GUILESS_MAIN(tst_CliEmu)
#include "tst_cliemu.moc"
