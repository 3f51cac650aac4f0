#include "tarpo/tlfactory.h"

#include "genapi/genapi.h"
#include "genapi/gobjectptr.h"

#include <arv.h>

#include <QtTest>

#include <map>
#include <vector>

using namespace Tarpo;
using namespace GenApi;

// Grabbing through the stream grabber from Aravis' fake GigE camera running in this process
// (the test runs in a private network namespace): frames land in the caller's memory with their
// geometry, a cancel gives every queued buffer back once, a too small buffer fails cleanly, and
// the grabber refuses what would corrupt its bookkeeping.
class tst_GigeGrab : public QObject
{
    Q_OBJECT

private:
    TarpoAutoInitTerm m_autoInitTerm;
    GObjectPtr<ArvGvFakeCamera> m_camera;
    ITarpoDevice* m_device = nullptr;
    IStreamGrabber* m_grabber = nullptr;
    int64_t m_payloadSize = 0;
    std::vector<std::vector<uint8_t>> m_memory;
    std::vector<StreamBufferHandle> m_handles;

    INodeMap* deviceMap() const { return m_device->GetNodeMap(); }
    INodeMap* streamMap() const { return m_grabber->GetNodeMap(); }
    void execute(const char* command) { CCommandPtr(deviceMap()->GetNode(command))->Execute(); }
    int64_t statistic(const char* name) const
    {
        return CIntegerPtr(streamMap()->GetNode(name))->GetValue();
    }

    // Registers `count` zeroed buffers of `size` bytes, each queued with its index as context.
    void prepare(int count, size_t size)
    {
        m_grabber->PrepareGrab();
        m_memory.assign(size_t(count), std::vector<uint8_t>(size, 0));
        m_handles.clear();
        for (auto& memory : m_memory) {
            m_handles.push_back(m_grabber->RegisterBuffer(memory.data(), memory.size()));
            m_grabber->QueueBuffer(m_handles.back(),
                                   reinterpret_cast<const void*>(m_handles.size() - 1));
        }
    }

    GrabResult next()
    {
        GrabResult result;
        if (!m_grabber->GetWaitObject().Wait(5000))
            return result;
        m_grabber->RetrieveResult(result);
        return result;
    }

    // Stops, cancels, takes every result back and deregisters: the grabber is idle again.
    int finish()
    {
        execute("AcquisitionStop");
        m_grabber->CancelGrab();
        int results = 0;
        GrabResult result;
        while (m_grabber->RetrieveResult(result))
            ++results;
        const std::vector<StreamBufferHandle> handles = std::move(m_handles);
        m_handles.clear();
        for (StreamBufferHandle handle : handles)
            m_grabber->DeregisterBuffer(handle);
        m_grabber->FinishGrab();
        return results;
    }

private slots:
    void initTestCase()
    {
        qputenv("TARPO_CAMEMU", "0");
        m_camera.reset(arv_gv_fake_camera_new("127.0.0.1", "GVGRAB"));
        QVERIFY(arv_gv_fake_camera_is_running(m_camera.get()));
        CDeviceInfo info;
        info.SetDeviceClass("MorvexGigE").SetIpAddress("127.0.0.1");
        m_device = CTlFactory::GetInstance().CreateDevice(info);
        m_device->Open();
        CIntegerPtr(deviceMap()->GetNode("Width"))->SetValue(512);
        CIntegerPtr(deviceMap()->GetNode("Height"))->SetValue(512);
        CEnumerationPtr(deviceMap()->GetNode("PixelFormat"))->FromString("Mono8");
        // The fake camera's fastest rate keeps the thousand frames short.
        CFloatPtr frameRate(deviceMap()->GetNode("AcquisitionFrameRate"));
        frameRate->SetValue(frameRate->GetMax());
        m_grabber = m_device->GetStreamGrabber(0);
        m_grabber->Open();
        // The fake camera does not resend packets; asking for them only delays failures.
        CBooleanPtr(streamMap()->GetNode("PacketResendEnable"))->SetValue(false);
        m_payloadSize = CIntegerPtr(streamMap()->GetNode("PayloadSize"))->GetValue();
        QCOMPARE(m_payloadSize, int64_t(512 * 512));
    }

    // A failed test leaves its buffers in the grabber; the next one starts idle.
    void cleanup()
    {
        if (m_handles.empty())
            return;
        try {
            finish();
        } catch (const GenICam::GenericException& e) {
            qWarning("cleanup: %s", e.GetDescription());
        }
    }

    void cleanupTestCase()
    {
        m_grabber->Close();
        m_device->Close();
        CTlFactory::GetInstance().DestroyDevice(m_device);
        m_camera.reset();
    }

    void grabsThousandFramesIntoCallerMemory()
    {
        CCommandPtr(streamMap()->GetNode("StatisticReset"))->Execute();
        prepare(16, size_t(m_payloadSize));
        execute("AcquisitionStart");
        uint64_t lastFrame = 0;
        for (int i = 0; i < 1000; ++i) {
            const GrabResult result = next();
            QVERIFY2(result.Succeeded(),
                     qPrintable(QString("frame %1: status %2, %3")
                                    .arg(i)
                                    .arg(result.Status())
                                    .arg(result.GetErrorDescription().c_str())));
            const auto index = reinterpret_cast<size_t>(result.Context());
            QVERIFY(index < m_memory.size());
            QCOMPARE(result.Handle(), m_handles[index]);
            QCOMPARE(result.Buffer(), static_cast<void*>(m_memory[index].data()));
            QCOMPARE(result.GetPayloadSize(), m_payloadSize);
            QCOMPARE(result.GetSizeX(), 512);
            QCOMPARE(result.GetSizeY(), 512);
            QCOMPARE(result.GetPixelType(), PixelType_Mono8);
            QCOMPARE(result.GetPaddingX(), 0);
            // GigE Vision 1.x block ids are 16 bits wide and skip 0 when they wrap.
            const auto advance = uint16_t(result.GetFrameNumber() - lastFrame);
            QVERIFY2(i == 0 || (advance >= 1 && advance <= 16),
                     qPrintable(
                         QString("frame %1 after %2").arg(result.GetFrameNumber()).arg(lastFrame)));
            lastFrame = result.GetFrameNumber();
            m_grabber->QueueBuffer(result.Handle(), result.Context());
        }
        // Zero copy: the camera's pattern is in our memory, not in a copy of it.
        const auto& image = m_memory.front();
        QVERIFY(std::any_of(image.begin(), image.end(), [](uint8_t pixel) { return pixel != 0; }));
        finish();
        QCOMPARE(statistic("StatisticFailedBufferCount"), int64_t(0));
        QVERIFY(statistic("StatisticTotalBufferCount") >= 1000);
    }

    void tooSmallBufferFails_data()
    {
        QTest::addColumn<qint64>("missingBytes");
        QTest::newRow("one-byte-short") << qint64(1);
        QTest::newRow("half-a-frame") << qint64(512 * 256);
        QTest::newRow("hundred-bytes-left") << qint64(512 * 512 - 100);
    }

    void tooSmallBufferFails()
    {
        QFETCH(qint64, missingBytes);
        prepare(1, size_t(m_payloadSize - missingBytes));
        execute("AcquisitionStart");
        const GrabResult result = next();
        QCOMPARE(result.Status(), Failed);
        QCOMPARE(result.GetErrorCode(), uint32_t(GrabError_BufferTooSmall));
        QVERIFY2(QString::fromStdString(result.GetErrorDescription()).contains("does not fit"),
                 result.GetErrorDescription().c_str());
        QVERIFY(result.GetPayloadSize() <= int64_t(m_memory.front().size()));
        QCOMPARE(result.Buffer(), static_cast<void*>(m_memory.front().data()));

        // The stream goes on: a big enough buffer is filled. Its first frames may time out:
        // with the small buffer Aravis shrank the socket buffer to it, and packets were dropped.
        std::vector<uint8_t> big(static_cast<size_t>(m_payloadSize));
        const StreamBufferHandle bigHandle = m_grabber->RegisterBuffer(big.data(), big.size());
        m_handles.push_back(bigHandle);
        GrabResult filled;
        for (int attempt = 0; attempt < 5 && !filled.Succeeded(); ++attempt) {
            m_grabber->QueueBuffer(bigHandle);
            filled = next();
            QCOMPARE(filled.Handle(), bigHandle);
        }
        QCOMPARE(filled.Status(), Grabbed);
        finish();
    }

    void cancelGivesEveryQueuedBufferBackOnce_data()
    {
        QTest::addColumn<bool>("acquiring");
        QTest::newRow("frame-in-flight") << true;
        QTest::newRow("camera-idle") << false;
    }

    void cancelGivesEveryQueuedBufferBackOnce()
    {
        QFETCH(bool, acquiring);
        prepare(8, size_t(m_payloadSize));
        std::map<StreamBufferHandle, int> returns;
        if (acquiring) {
            execute("AcquisitionStart");
            // Frames are flowing: one arrived and the next is on its way.
            const GrabResult first = next();
            QVERIFY(first.Succeeded());
            ++returns[first.Handle()];
        }
        m_grabber->CancelGrab();
        GrabResult result;
        int canceled = 0;
        while (m_grabber->RetrieveResult(result)) {
            ++returns[result.Handle()];
            canceled += result.Status() == Canceled;
            QVERIFY(result.Status() == Canceled || result.Status() == Grabbed);
        }
        QCOMPARE(int(returns.size()), 8);
        for (const auto& entry : returns)
            QCOMPARE(entry.second, 1);
        QVERIFY(canceled >= (acquiring ? 1 : 8));
        QVERIFY(!m_grabber->GetWaitObject().Wait(300));

        // The stream restarted: the same buffers come back again, filled. The first frame after
        // the restart may be one whose start the new stream thread missed.
        execute("AcquisitionStart");
        for (StreamBufferHandle handle : m_handles)
            m_grabber->QueueBuffer(handle);
        std::map<StreamBufferHandle, int> refilled;
        int grabbed = 0;
        for (int i = 0; i < 8; ++i) {
            const GrabResult again = next();
            QVERIFY(again.Status() == Grabbed || again.Status() == Failed);
            ++refilled[again.Handle()];
            grabbed += again.Succeeded();
        }
        QCOMPARE(int(refilled.size()), 8);
        QVERIFY(grabbed >= 7);
        finish();
    }

    void refusesMisuse_data()
    {
        QTest::addColumn<QString>("misuse");
        QTest::newRow("register-before-prepare") << "register-before-prepare";
        QTest::newRow("register-over-max-buffer-size") << "register-over-max-buffer-size";
        QTest::newRow("register-over-max-num-buffer") << "register-over-max-num-buffer";
        QTest::newRow("queue-twice") << "queue-twice";
        QTest::newRow("deregister-queued") << "deregister-queued";
        QTest::newRow("finish-with-queued") << "finish-with-queued";
        QTest::newRow("queue-unknown-handle") << "queue-unknown-handle";
        QTest::newRow("limits-locked-while-prepared") << "limits-locked-while-prepared";
    }

    void refusesMisuse()
    {
        QFETCH(QString, misuse);
        CIntegerPtr maxNumBuffer(streamMap()->GetNode("MaxNumBuffer"));
        CIntegerPtr maxBufferSize(streamMap()->GetNode("MaxBufferSize"));
        maxNumBuffer->SetValue(2);
        maxBufferSize->SetValue(m_payloadSize);
        std::vector<uint8_t> memory(size_t(m_payloadSize) + 1);

        if (misuse == "register-before-prepare") {
            QVERIFY_EXCEPTION_THROWN(m_grabber->RegisterBuffer(memory.data(), 100),
                                     GenICam::LogicalErrorException);
        } else {
            prepare(1, size_t(m_payloadSize));
            if (misuse == "register-over-max-buffer-size")
                QVERIFY_EXCEPTION_THROWN(m_grabber->RegisterBuffer(memory.data(), memory.size()),
                                         GenICam::InvalidArgumentException);
            if (misuse == "register-over-max-num-buffer") {
                m_handles.push_back(m_grabber->RegisterBuffer(memory.data(), 100));
                QVERIFY_EXCEPTION_THROWN(m_grabber->RegisterBuffer(memory.data(), 100),
                                         GenICam::LogicalErrorException);
            }
            if (misuse == "queue-twice")
                QVERIFY_EXCEPTION_THROWN(m_grabber->QueueBuffer(m_handles.front()),
                                         GenICam::LogicalErrorException);
            if (misuse == "deregister-queued")
                QVERIFY_EXCEPTION_THROWN(m_grabber->DeregisterBuffer(m_handles.front()),
                                         GenICam::LogicalErrorException);
            if (misuse == "finish-with-queued")
                QVERIFY_EXCEPTION_THROWN(m_grabber->FinishGrab(), GenICam::LogicalErrorException);
            if (misuse == "queue-unknown-handle")
                QVERIFY_EXCEPTION_THROWN(m_grabber->QueueBuffer(memory.data()),
                                         GenICam::InvalidArgumentException);
            if (misuse == "limits-locked-while-prepared")
                QVERIFY_EXCEPTION_THROWN(maxNumBuffer->SetValue(3), GenICam::GenericException);
            finish();
        }
        maxNumBuffer->SetValue(16);
        maxBufferSize->SetValue(64 * 1024 * 1024);
    }
};

QTEST_GUILESS_MAIN(tst_GigeGrab)
#include "tst_gigegrab.moc"
