#include "display/recordingstatusbar.h"

#include <QImage>
#include <QLabel>
#include <QtTest>

namespace {

QString stateLabel(const char* icon, const char* text)
{
    return QString("<table cellspacing='0' cellpadding='0' height='16'><tr><td valign='middle' "
                   "style='padding-top: 2px; padding-right:4px;'><img "
                   "src=':/TarpoViewerApp/Resources/%1' /></td><td valign='middle' "
                   "style='padding-top: 1px;'>%2</td><tr/></table>")
        .arg(icon, text);
}

StatusBar::StatusInfo recording(ERecordingState state, uint64_t recorded = 0, uint64_t waiting = 0,
                                uint64_t capacity = 0)
{
    StatusBar::StatusInfo info;
    info.recordingState = state;
    info.recordedFrames = recorded;
    info.recordingBufferWaiting = waiting;
    info.recordingBufferCapacity = capacity;
    info.droppedFrames = 7;
    info.recordingChanged = true;
    return info;
}

} // namespace

// The recording status bar: state texts and icons, the blink, buffer usage, and the icons it
// names being in the resources.
class tst_RecordingStatusBar : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void statesBlink_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("text");
        QTest::newRow("initializing-blinks-empty-with-empty") << 0 << "recordempty_14x14.png"
                                                              << "Initializing";
        QTest::newRow("recording") << 1 << "record_14x14.png"
                                   << "Recording";
        QTest::newRow("paused") << 2 << "recordpaused_14x14.png"
                                << "Recording paused";
        QTest::newRow("writing-remaining-images") << 3 << "recordstopped_14x14.png"
                                                  << "Stopped. Writing images remaining in buffer";
        QTest::newRow("stopped-blinks-empty-with-empty") << 4 << "recordempty_14x14.png"
                                                         << "Recording stopped";
        QTest::newRow("error-reads-as-stopped") << 5 << "recordempty_14x14.png"
                                                << "Recording stopped";
    }

    void statesBlink()
    {
        QFETCH(int, state);
        QFETCH(QString, icon);
        QFETCH(QString, text);
        RecordingStatusBar bar;
        StatusBar::StatusInfo info = recording(ERecordingState(state));
        bar.update(&info);
        QVERIFY(!info.recordingChanged);
        const QString lit = stateLabel(qPrintable(icon), qPrintable(text));
        QCOMPARE(bar.stateLabel()->text(), lit);
        bar.blinkTimeout();
        QCOMPARE(bar.stateLabel()->text(), stateLabel("recordempty_14x14.png", qPrintable(text)));
        bar.blinkTimeout();
        QCOMPARE(bar.stateLabel()->text(), lit);
        QCOMPARE(bar.droppedFramesLabel()->text(), QString(" Dropped frames 7 "));
    }

    void bufferUsage_data()
    {
        QTest::addColumn<quint64>("waiting");
        QTest::addColumn<quint64>("capacity");
        QTest::addColumn<QString>("usage");
        QTest::newRow("empty") << 0ull << 100ull << " Buffer usage 0 % ";
        QTest::newRow("a-third-is-not-zero") << 1ull << 3ull << " Buffer usage 33 % ";
        QTest::newRow("two-thirds-round-up") << 2ull << 3ull << " Buffer usage 67 % ";
        QTest::newRow("full") << 50ull << 50ull << " Buffer usage 100 % ";
        QTest::newRow("no-buffer-yet") << 0ull << 0ull << " Buffer usage 0 % ";
    }

    void bufferUsage()
    {
        QFETCH(quint64, waiting);
        QFETCH(quint64, capacity);
        QFETCH(QString, usage);
        RecordingStatusBar bar;
        StatusBar::StatusInfo info = recording(RecordingState_Recording, 12345, waiting, capacity);
        bar.update(&info);
        QCOMPARE(bar.bufferUsageLabel()->text(), usage);
        QCOMPARE(bar.recordedFramesLabel()->text(), QString(" Recorded frames 12,345 "));
    }

    void statisticsDoNotStopTheBlink()
    {
        // Statistics arrive with every displayed frame; were each to light the icon again, a
        // recording at 30 fps would never blink.
        RecordingStatusBar bar;
        bar.show();
        QCOMPARE(bar.blinkTimer().interval(), RecordingStatusBar::kBlinkIntervalMs);
        StatusBar::StatusInfo info = recording(RecordingState_Recording, 1);
        bar.update(&info);
        QTRY_VERIFY(bar.isBlinkPhaseOn());
        info = recording(RecordingState_Recording, 2);
        bar.update(&info);
        QVERIFY(bar.isBlinkPhaseOn());
        // A new state starts lit.
        info = recording(RecordingState_Paused, 2);
        bar.update(&info);
        QVERIFY(!bar.isBlinkPhaseOn());
        bar.hide();
        QVERIFY(!bar.blinkTimer().isActive());
    }

    void namedIconsAreInTheResources()
    {
        for (const char* name :
             {"record_14x14", "recordempty_14x14", "recordpaused_14x14", "recordstopped_14x14",
              "zoomin2", "zoomout2", "zoomfit2", "zoom100_2"}) {
            const QImage icon(QString(":/TarpoViewerApp/Resources/%1.png").arg(name));
            const int size = QString(name).endsWith("14x14") ? 14 : 24;
            QVERIFY2(icon.size() == QSize(size, size), name);
            // Drawn, with transparent corners.
            QVERIFY2(qAlpha(icon.pixel(0, 0)) == 0 &&
                         qAlpha(icon.pixel(size / 2, size / 2 - 1)) == 255,
                     name);
        }
    }
};

QTEST_MAIN(tst_RecordingStatusBar)
#include "tst_recordingstatusbar.moc"
