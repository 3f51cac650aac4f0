#include "fakecameraprocess.h"

#include "tarpo/tlfactory.h"

#include "genapi/genapi.h"

#include <QtTest>

#include <vector>

using namespace Tarpo;
using namespace GenApi;

// A network that loses packets: Aravis' fake camera in a child process drops 5 % of its stream
// packets (-r 50). Every frame Aravis counts as failed must reach the application as a failed
// result with our error code, and every frame it completed as a grabbed one: our counts equal
// Aravis' own statistics.
class tst_GigeLoss : public QObject
{
    Q_OBJECT

private:
    TarpoAutoInitTerm m_autoInitTerm;
    FakeCameraProcess m_camera{"GVLOSS", {"-r", "50"}};
    ITarpoDevice* m_device = nullptr;
    IStreamGrabber* m_grabber = nullptr;

    INodeMap* streamMap() const { return m_grabber->GetNodeMap(); }
    void execute(const char* command)
    {
        CCommandPtr(m_device->GetNodeMap()->GetNode(command))->Execute();
    }
    int64_t statistic(const char* name) const
    {
        return CIntegerPtr(streamMap()->GetNode(name))->GetValue();
    }

private slots:
    void initTestCase()
    {
        qputenv("TARPO_CAMEMU", "0");
        QVERIFY2(m_camera.start(), qPrintable(m_camera.errorString()));
        CDeviceInfo info;
        info.SetDeviceClass("MorvexGigE").SetFullName(m_camera.fullName().toStdString());
        m_device = CTlFactory::GetInstance().CreateDevice(info);
        m_device->Open();
        INodeMap* map = m_device->GetNodeMap();
        CIntegerPtr(map->GetNode("Width"))->SetValue(512);
        CIntegerPtr(map->GetNode("Height"))->SetValue(512);
        CFloatPtr frameRate(map->GetNode("AcquisitionFrameRate"));
        frameRate->SetValue(frameRate->GetMax());
        m_grabber = m_device->GetStreamGrabber(0);
        m_grabber->Open();
    }

    void cleanupTestCase()
    {
        m_grabber->Close();
        m_device->Close();
        CTlFactory::GetInstance().DestroyDevice(m_device);
    }

    void failedResultsMatchAravisStatistics_data()
    {
        QTest::addColumn<bool>("resend");
        // Without resend a frame fails as soon as the next one starts; with resend it waits for
        // packets the fake camera never sends again and times out.
        QTest::newRow("resend-off") << false;
        QTest::newRow("resend-on") << true;
    }

    void failedResultsMatchAravisStatistics()
    {
        QFETCH(bool, resend);
        CBooleanPtr(streamMap()->GetNode("PacketResendEnable"))->SetValue(resend);
        CCommandPtr(streamMap()->GetNode("StatisticReset"))->Execute();
        const int64_t payloadSize = CIntegerPtr(streamMap()->GetNode("PayloadSize"))->GetValue();

        m_grabber->PrepareGrab();
        std::vector<std::vector<uint8_t>> memory(8, std::vector<uint8_t>(size_t(payloadSize)));
        std::vector<StreamBufferHandle> handles;
        for (auto& buffer : memory) {
            handles.push_back(m_grabber->RegisterBuffer(buffer.data(), buffer.size()));
            m_grabber->QueueBuffer(handles.back());
        }
        execute("AcquisitionStart");
        int grabbed = 0;
        int failed = 0;
        const auto count = [&](const GrabResult& result) {
            if (result.Status() == Grabbed)
                ++grabbed;
            if (result.Status() == Failed) {
                ++failed;
                QVERIFY(result.GetErrorCode() == GrabError_MissingPackets ||
                        result.GetErrorCode() == GrabError_Timeout);
                QVERIFY(!result.GetErrorDescription().empty());
            }
        };
        GrabResult result;
        while (grabbed + failed < 150) {
            QVERIFY2(m_grabber->GetWaitObject().Wait(5000), "the stream stopped");
            m_grabber->RetrieveResult(result);
            count(result);
            m_grabber->QueueBuffer(result.Handle());
        }
        execute("AcquisitionStop");
        m_grabber->CancelGrab();
        while (m_grabber->RetrieveResult(result))
            count(result);
        for (StreamBufferHandle handle : handles)
            m_grabber->DeregisterBuffer(handle);
        m_grabber->FinishGrab();

        QVERIFY2(failed > 0, "no packet was lost");
        QCOMPARE(int64_t(failed), statistic("StatisticFailedBufferCount"));
        QCOMPARE(int64_t(grabbed + failed), statistic("StatisticTotalBufferCount"));
        QVERIFY(statistic("StatisticMissingPacketCount") > 0);
    }
};

QTEST_GUILESS_MAIN(tst_GigeLoss)
#include "tst_gigeloss.moc"
