// The buffered image sink: frames reach the writer in arrival order on the writer thread, a
// full queue drops and counts rather than blocking, a drain reports down to zero, stop ends the
// thread once, and a failing writer is reported exactly once, by kind.

#include "recordingtestsupport.h"

#include "recording/bufferedimagesink.h"
#include "recording/fatalmediawriterexception.h"
#include "recording/mediafilelimitreachedexception.h"

#include <QtTest>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

// Collects the sink's reports from its writer thread.
struct Callee : CBufferedImageSink::IQueueEmptyProgressCallee,
                CBufferedImageSink::IWriteFrameFailedCallee
{
    void onQueueEmptyProgress(uint64_t remaining) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        progress.push_back(remaining);
    }
    void onWriteFrameFailed(const char* detail) override { report("write-failed", detail); }
    void onMediaFileLimitReached() override { report("limit", nullptr); }
    void onFatalMediaWriterError(const char* detail) override { report("fatal", detail); }
    void report(const char* kind, const char* detail)
    {
        std::lock_guard<std::mutex> lock(mutex);
        reports << QString("%1:%2").arg(kind, detail ? detail : "(null)");
    }
    QStringList reportList()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return reports;
    }
    std::vector<uint64_t> progressList()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return progress;
    }

    std::mutex mutex; // guards progress, reports
    std::vector<uint64_t> progress;
    QStringList reports;
};

bool add(CBufferedImageSink& sink, uint8_t firstByte)
{
    std::vector<uint8_t> frame(64 * 4, firstByte);
    return sink.addFrame(frame.data(), frame.size(), Tarpo::PixelType_Mono8, 64, 4, 0,
                         Tarpo::TopDown);
}

} // namespace

class tst_BufferedImageSink : public QObject
{
    Q_OBJECT

private slots:
    void framesAreWrittenInArrivalOrder()
    {
        GatedMediaWriterDouble writer;
        CBufferedImageSink sink(&writer, 100);
        for (int i = 0; i < 50; ++i)
            QVERIFY(add(sink, uint8_t(i)));
        QTRY_COMPARE(sink.writtenCount(), size_t(50));
        QCOMPARE(sink.queuedCount(), uint64_t(0));
        QCOMPARE(sink.droppedCount(), uint64_t(0));
        const std::vector<uint8_t> order = writer.firstBytes();
        for (int i = 0; i < 50; ++i)
            QCOMPARE(int(order[size_t(i)]), i);
        sink.stop();
    }

    void fullQueueDropsAndCounts_data()
    {
        QTest::addColumn<int>("capacity");
        QTest::addColumn<int>("frames");
        QTest::addColumn<int>("dropped");
        // One frame is with the writer, `capacity` wait, the rest are dropped.
        QTest::newRow("capacity-1") << 1 << 5 << 3;
        QTest::newRow("capacity-3") << 3 << 10 << 6;
        QTest::newRow("capacity-0-drops-all-but-none-queued") << 0 << 4 << 4;
    }

    void fullQueueDropsAndCounts()
    {
        QFETCH(int, capacity);
        QFETCH(int, frames);
        QFETCH(int, dropped);

        GatedMediaWriterDouble writer;
        writer.setGateOpen(false);
        CBufferedImageSink sink(&writer, uint64_t(capacity));
        QCOMPARE(sink.capacity(), uint64_t(capacity));
        int refused = 0;
        for (int i = 0; i < frames; ++i) {
            if (!add(sink, uint8_t(i)))
                ++refused;
            // The first frame goes to the writer before the next one arrives.
            if (i == 0 && capacity > 0)
                QVERIFY(writer.waitEntered(1));
        }
        QCOMPARE(refused, dropped);
        QCOMPARE(int(sink.droppedCount()), dropped);
        writer.setGateOpen(true);
        QTRY_COMPARE(int(sink.writtenCount()), frames - dropped);
        sink.stop();
    }

    void drainReportsDownToZero()
    {
        GatedMediaWriterDouble writer;
        writer.setGateOpen(false);
        CBufferedImageSink sink(&writer, 10);
        Callee callee;
        // Nothing queued: nothing to report, and nothing kept.
        QVERIFY(!sink.waitForQueueEmpty(&callee));
        for (int i = 0; i < 5; ++i)
            QVERIFY(add(sink, uint8_t(i)));
        QVERIFY(writer.waitEntered(1));
        QCOMPARE(sink.queuedCount(), uint64_t(4));
        QVERIFY(sink.waitForQueueEmpty(&callee));
        writer.setGateOpen(true);
        QTRY_COMPARE(callee.progressList().size(), size_t(5));
        QCOMPARE(callee.progressList(), (std::vector<uint64_t>{4, 3, 2, 1, 0}));
        // Drained, a new wait keeps nothing and reports nothing.
        QVERIFY(!sink.waitForQueueEmpty(nullptr));
        sink.stop();
    }

    void stopEndsTheThreadOnceAndDiscardsTheQueue()
    {
        GatedMediaWriterDouble writer;
        writer.setGateOpen(false);
        CBufferedImageSink sink(&writer, 10);
        for (int i = 0; i < 4; ++i)
            QVERIFY(add(sink, uint8_t(i)));
        QVERIFY(writer.waitEntered(1));
        // stop() joins the thread after the frame in the writer, so the gate must open while
        // stop() waits; the delay only orders the two, nothing waits for a result with it.
        std::thread opener([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            writer.setGateOpen(true);
        });
        sink.stop();
        opener.join();
        sink.stop(); // harmless
        QCOMPARE(writer.calls(), 1);
        QCOMPARE(sink.queuedCount(), uint64_t(3));
        // A stopped sink still takes frames; nobody writes them.
        QVERIFY(add(sink, 9));
        QCOMPARE(writer.calls(), 1);
    }

    void writerFailureIsReportedOnce_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("report");

        QTest::newRow("fatal-codec-error") << "fatal"
                                           << "fatal:codec broke";
        QTest::newRow("file-limit") << "limit"
                                    << "limit:(null)";
        QTest::newRow("sdk-error") << "genicam"
                                   << "write-failed:disk gone";
        QTest::newRow("anything-else") << "other"
                                       << "write-failed:(null)";
    }

    void writerFailureIsReportedOnce()
    {
        QFETCH(QString, kind);
        QFETCH(QString, report);

        GatedMediaWriterDouble writer;
        writer.throwOn(1, [kind] {
            if (kind == "fatal")
                throw FatalMediaWriterException("codec broke", __FILE__, __LINE__);
            if (kind == "limit")
                throw MediaFileLimitReachedException("2GB limit of AVI file reached.", __FILE__,
                                                     __LINE__);
            if (kind == "genicam")
                throw RUNTIME_EXCEPTION("disk gone");
            throw std::runtime_error("not an SDK error");
        });
        CBufferedImageSink sink(&writer, 3);
        Callee callee;
        QVERIFY(sink.setWriteFrameFailedCallee(&callee));
        QVERIFY(add(sink, 0));
        QTRY_COMPARE(callee.reportList().size(), 1);
        QCOMPARE(callee.reportList().front(), report);
        // The writer thread has ended: later frames only fill the queue, then are dropped.
        for (int i = 1; i <= 5; ++i)
            add(sink, uint8_t(i));
        QCOMPARE(sink.queuedCount(), uint64_t(3));
        QCOMPARE(sink.droppedCount(), uint64_t(2));
        QCOMPARE(writer.calls(), 1);
        QCOMPARE(callee.reportList().size(), 1);
        sink.stop();
    }

    void outOfMemoryLeavesTheQueueAlone()
    {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
        QSKIP("the sanitizers' allocators abort on an impossible allocation instead of failing it");
#endif
        GatedMediaWriterDouble writer;
        CBufferedImageSink sink(&writer, 3);
        const uint8_t byte = 0;
        // The copy is what fails; the source is never read.
        QVERIFY_EXCEPTION_THROWN(
            sink.addFrame(&byte, size_t(1) << 62, Tarpo::PixelType_Mono8, 64, 4, 0, Tarpo::TopDown),
            std::bad_alloc);
        QCOMPARE(sink.queuedCount(), uint64_t(0));
        QCOMPARE(sink.droppedCount(), uint64_t(0));
        sink.stop();
    }
};

QTEST_GUILESS_MAIN(tst_BufferedImageSink)
#include "tst_bufferedimagesink.moc"
