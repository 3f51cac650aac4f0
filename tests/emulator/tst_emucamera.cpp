// The emulated camera's features through the GenApi facade: its description against its
// register behaviour, limits that follow each other, locks while grabbing, refusals and the
// callbacks that changes of dependent registers cause.

#include "emutestsupport.h"

#include "emulator/emuenumtable.h"
#include "emulator/emulimits.h"
#include "emulator/emuregisters.h"
#include "emulator/emuregistertable.h"
#include "tarpo/pixeltype.h"

#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <set>

using namespace GenApi;
using namespace EmuTest;
using Emulator::EmuTransportLayer;

class TestEmuCamera : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void registersMatchTheDescription();
    void enumerationsMatchTheDescription();
    void limitsMatchTheDescription_data();
    void limitsMatchTheDescription();
    void identity();
    void categoriesAndVisibility();
    void everyFeatureReadsAndWritesBack();
    void everyEnumerationEntryIsTaken();

    void regionLimitsFollow_data();
    void regionLimitsFollow();
    void payloadFollowsFormat_data();
    void payloadFollowsFormat();
    void resultingFrameRate_data();
    void resultingFrameRate();
    void refusals_data();
    void refusals();
    void lockedWhileGrabbing_data();
    void lockedWhileGrabbing();
    void dependentCallbacks_data();
    void dependentCallbacks();
    void sensorOverride();
    void deviceUserIdPersists();
    void temperatureIsPolled();
    void imageFilename();

private:
    std::unique_ptr<EmuTransportLayer> m_transportLayer;
    std::unique_ptr<Camera> m_camera;
};

void TestEmuCamera::init()
{
    m_transportLayer = std::make_unique<EmuTransportLayer>(2);
    m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
}

void TestEmuCamera::cleanup()
{
    m_camera.reset();
    m_transportLayer.reset();
}

void TestEmuCamera::registersMatchTheDescription()
{
    // Every register node of the description, at every value of the selectors that index
    // registers, against the register table the camera answers.
    INodeMap* map = m_camera->map;
    std::set<std::pair<int64_t, int64_t>> described;
    const auto collect = [&] {
        NodeList_t nodes;
        map->GetNodes(nodes);
        for (INode* node : nodes) {
            CRegisterPtr reg(node);
            if (reg && node->GetPrincipalInterfaceType() != intfIEnumeration)
                described.insert({reg->GetAddress(), reg->GetLength()});
        }
    };
    for (const char* selector : {"BalanceRatioSelector", "AutoFunctionROISelector"}) {
        StringList_t entries;
        CEnumerationPtr(map->GetNode(selector))->GetSymbolics(entries);
        for (const auto& entry : entries) {
            m_camera->setEnumeration(selector, entry.c_str());
            collect();
        }
    }
    std::set<std::pair<int64_t, int64_t>> implemented;
    for (const auto& r : Emulator::EmuRegisterTable::all())
        implemented.insert({r.address, r.length});

    for (const auto& entry : described) {
        QVERIFY2(implemented.count(entry),
                 qPrintable(QString("described register 0x%1 (%2 bytes) is not implemented")
                                .arg(entry.first, 0, 16)
                                .arg(entry.second)));
    }
    for (const auto& entry : implemented) {
        QVERIFY2(described.count(entry),
                 qPrintable(QString("implemented register 0x%1 (%2 bytes) is not described")
                                .arg(entry.first, 0, 16)
                                .arg(entry.second)));
    }
}

void TestEmuCamera::enumerationsMatchTheDescription()
{
    for (const Emulator::EmuEnumTable* table : Emulator::EmuEnumTable::all()) {
        const QByteArray name = table->featureName().c_str();
        CEnumerationPtr enumeration(m_camera->map->GetNode(name.constData()));
        QVERIFY2(enumeration, name.constData());
        NodeList_t entries;
        enumeration->GetEntries(entries);
        QCOMPARE(entries.size(), table->entries().size());
        for (size_t i = 0; i < entries.size(); ++i) {
            CEnumEntryPtr entry(entries[i]);
            QCOMPARE(QString(entry->GetSymbolic().c_str()),
                     QString(table->entries()[i].symbolic.c_str()));
            QCOMPARE(entry->GetValue(), table->entries()[i].value);
        }
    }
}

void TestEmuCamera::limitsMatchTheDescription_data()
{
    using namespace Emulator::EmuLimits;
    QTest::addColumn<QString>("feature");
    QTest::addColumn<double>("min");
    QTest::addColumn<double>("max");
    QTest::addColumn<double>("inc"); // 0: not an integer

    QTest::newRow("Width") << "Width" << double(kWidthMin) << double(kDefaultSensorWidth)
                           << double(kWidthInc);
    QTest::newRow("Height") << "Height" << double(kHeightMin) << double(kDefaultSensorHeight)
                            << double(kHeightInc);
    QTest::newRow("OffsetX") << "OffsetX" << 0.0 << 0.0 << double(kOffsetXInc);
    QTest::newRow("OffsetY") << "OffsetY" << 0.0 << 0.0 << double(kOffsetYInc);
    QTest::newRow("ExposureTime") << "ExposureTime" << kExposureTimeMinUs << kExposureTimeMaxUs
                                  << 0.0;
    QTest::newRow("Gain") << "Gain" << kGainMinDb << kGainMaxDb << 0.0;
    QTest::newRow("BlackLevel") << "BlackLevel" << kBlackLevelMin << kBlackLevelMax << 0.0;
    QTest::newRow("Gamma") << "Gamma" << kGammaMin << kGammaMax << 0.0;
    QTest::newRow("BalanceRatio") << "BalanceRatio" << kBalanceRatioMin << kBalanceRatioMax << 0.0;
    QTest::newRow("AcquisitionFrameRate")
        << "AcquisitionFrameRate" << kFrameRateMinHz << kFrameRateMaxHz << 0.0;
    QTest::newRow("AcquisitionFrameCount")
        << "AcquisitionFrameCount" << double(kFrameCountMin) << double(kFrameCountMax) << 1.0;
    QTest::newRow("DeviceLinkThroughputLimit")
        << "DeviceLinkThroughputLimit" << double(kLinkThroughputMinBps)
        << double(kLinkThroughputMaxBps) << 1.0;
    QTest::newRow("DebugSensorWidth") << "DebugSensorWidth" << double(kSensorWidthMin)
                                      << double(kSensorWidthMax) << double(kWidthInc);
    QTest::newRow("DebugSensorHeight") << "DebugSensorHeight" << double(kSensorHeightMin)
                                       << double(kSensorHeightMax) << double(kHeightInc);
    QTest::newRow("AutoTargetBrightness") << "AutoTargetBrightness" << 0.0 << 1.0 << 0.0;
    QTest::newRow("FileAccessLength")
        << "FileAccessLength" << 0.0 << double(Emulator::EmuReg::FileAccessBufferSize) << 1.0;
}

void TestEmuCamera::limitsMatchTheDescription()
{
    QFETCH(QString, feature);
    QFETCH(double, min);
    QFETCH(double, max);
    QFETCH(double, inc);
    INode* node = m_camera->map->GetNode(feature.toUtf8().constData());
    QVERIFY(node);
    if (inc == 0) {
        CFloatPtr f(node);
        QCOMPARE(f->GetMin(), min);
        QCOMPARE(f->GetMax(), max);
        // Both ends are accepted by the camera, not only by the description.
        f->SetValue(max);
        QCOMPARE(f->GetValue(), max);
        f->SetValue(min);
        QCOMPARE(f->GetValue(), min);
        return;
    }
    CIntegerPtr i(node);
    QCOMPARE(double(i->GetMin()), min);
    if (max > 0)
        QCOMPARE(double(i->GetMax()), max);
    QCOMPARE(double(i->GetInc()), inc);
}

void TestEmuCamera::identity()
{
    QCOMPARE(QString(CStringPtr(m_camera->map->GetNode("DeviceVendorName"))->GetValue().c_str()),
             QString("Morvex"));
    QCOMPARE(QString(CStringPtr(m_camera->map->GetNode("DeviceModelName"))->GetValue().c_str()),
             QString("Emulated Camera"));
    QCOMPARE(QString(CStringPtr(m_camera->map->GetNode("DeviceSerialNumber"))->GetValue().c_str()),
             QString("EMU0001"));
    QCOMPARE(QString(m_camera->device->GetDeviceInfo().GetDeviceClass().c_str()),
             QString("MorvexCamEmu"));
}

void TestEmuCamera::categoriesAndVisibility()
{
    INodeMap* map = m_camera->map;
    CCategoryPtr root(map->GetNode("Root"));
    FeatureList_t categories;
    root->GetFeatures(categories);
    QVERIFY(categories.size() >= 9);
    for (IValue* category : categories) {
        INode* node = category->GetNode();
        QVERIFY2(node->GetDisplayName() != node->GetName() || node->GetName() == "Debug",
                 node->GetName().c_str());
        QVERIFY2(!node->GetToolTip().empty(), node->GetName().c_str());
    }
    // Every feature a user can see says what it is.
    for (IValue* category : categories) {
        FeatureList_t features;
        CCategoryPtr(category->GetNode())->GetFeatures(features);
        for (IValue* feature : features) {
            INode* node = feature->GetNode();
            if (node->GetVisibility() == Invisible)
                continue;
            QVERIFY2(!node->GetToolTip().empty(), node->GetName().c_str());
            QVERIFY2(node->GetDisplayName() != node->GetName() ||
                         node->GetName().find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ", 1) ==
                             std::string::npos,
                     node->GetName().c_str());
        }
    }
    QCOMPARE(map->GetNode("Debug")->GetVisibility(), Invisible);
    QCOMPARE(map->GetNode("Width")->GetVisibility(), Beginner);
    QCOMPARE(map->GetNode("FileAccessBuffer")->GetVisibility(), Guru);
    QCOMPARE(map->GetNode("WidthReg")->GetVisibility(), Invisible);
    QVERIFY(!map->GetNode("ExposureTime")->GetDescription().empty());
}

void TestEmuCamera::everyFeatureReadsAndWritesBack()
{
    // What a feature persistence does on load: each readable feature's text written back.
    NodeList_t nodes;
    m_camera->map->GetNodes(nodes);
    int written = 0;
    for (INode* node : nodes) {
        CValuePtr value(node);
        if (!value || !node->IsFeature() || CCategoryPtr(node) || CCommandPtr(node) ||
            CEnumEntryPtr(node) || !IsReadable(node))
            continue;
        const gcstring text = value->ToString();
        if (!IsWritable(node) || CRegisterPtr(node))
            continue;
        try {
            value->FromString(text);
        } catch (const GenICam::GenericException& e) {
            QFAIL(qPrintable(QString("%1 = '%2': %3")
                                 .arg(node->GetName().c_str(), text.c_str(), e.GetDescription())));
        }
        QCOMPARE(QString(value->ToString().c_str()), QString(text.c_str()));
        ++written;
    }
    QVERIFY2(written > 40, qPrintable(QString::number(written)));
}

void TestEmuCamera::everyEnumerationEntryIsTaken()
{
    NodeList_t nodes;
    m_camera->map->GetNodes(nodes);
    for (INode* node : nodes) {
        CEnumerationPtr enumeration(node);
        if (!enumeration || !IsWritable(node))
            continue;
        const gcstring before = enumeration->ToString();
        NodeList_t entries;
        enumeration->GetEntries(entries);
        for (INode* entryNode : entries) {
            CEnumEntryPtr entry(entryNode);
            if (!IsAvailable(entryNode))
                continue;
            enumeration->SetIntValue(entry->GetValue());
            QCOMPARE(QString(enumeration->ToString().c_str()),
                     QString(entry->GetSymbolic().c_str()));
        }
        enumeration->FromString(before);
    }
}

void TestEmuCamera::regionLimitsFollow_data()
{
    QTest::addColumn<QString>("size");
    QTest::addColumn<QString>("offset");
    QTest::addColumn<QString>("sensor");
    QTest::addColumn<qint64>("newSize");
    QTest::addColumn<qint64>("newOffset");

    QTest::newRow("width-then-offset-x") << "Width"
                                         << "OffsetX"
                                         << "SensorWidth" << qint64(640) << qint64(1000);
    QTest::newRow("width-minimum-offset-x-maximum") << "Width"
                                                    << "OffsetX"
                                                    << "SensorWidth" << qint64(16) << qint64(1904);
    QTest::newRow("height-then-offset-y") << "Height"
                                          << "OffsetY"
                                          << "SensorHeight" << qint64(480) << qint64(720);
    QTest::newRow("height-minimum-offset-y-maximum") << "Height"
                                                     << "OffsetY"
                                                     << "SensorHeight" << qint64(2) << qint64(1198);
}

void TestEmuCamera::regionLimitsFollow()
{
    QFETCH(QString, size);
    QFETCH(QString, offset);
    QFETCH(QString, sensor);
    QFETCH(qint64, newSize);
    QFETCH(qint64, newOffset);
    CIntegerPtr sizeNode(m_camera->map->GetNode(size.toUtf8().constData()));
    CIntegerPtr offsetNode(m_camera->map->GetNode(offset.toUtf8().constData()));
    const int64_t sensorSize =
        CIntegerPtr(m_camera->map->GetNode(sensor.toUtf8().constData()))->GetValue();

    sizeNode->SetValue(newSize);
    QCOMPARE(offsetNode->GetMax(), sensorSize - newSize);
    offsetNode->SetValue(newOffset);
    QCOMPARE(sizeNode->GetMax(), sensorSize - newOffset);
    // The size cannot grow past the sensor's edge any more, neither through the description nor
    // straight at the register.
    QVERIFY_EXCEPTION_THROWN(sizeNode->SetValue(sensorSize - newOffset + sizeNode->GetInc()),
                             GenICam::GenericException);
    QCOMPARE(sizeNode->GetValue(), newSize);
}

void TestEmuCamera::payloadFollowsFormat_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<qint64>("width");
    QTest::addColumn<qint64>("height");
    QTest::addColumn<qint64>("dynamicRangeMax");
    QTest::addColumn<qint64>("pixelSize");

    QTest::newRow("Mono8") << "Mono8" << qint64(640) << qint64(480) << qint64(255) << qint64(8);
    QTest::newRow("Mono10") << "Mono10" << qint64(640) << qint64(480) << qint64(1023) << qint64(16);
    QTest::newRow("Mono10p") << "Mono10p" << qint64(644) << qint64(2) << qint64(1023) << qint64(10);
    QTest::newRow("Mono12Packed") << "Mono12Packed" << qint64(20) << qint64(4) << qint64(4095)
                                  << qint64(12);
    QTest::newRow("Mono16") << "Mono16" << qint64(1920) << qint64(1200) << qint64(65535)
                            << qint64(16);
    QTest::newRow("BayerRG12p") << "BayerRG12p" << qint64(100) << qint64(10) << qint64(4095)
                                << qint64(12);
    QTest::newRow("BayerGB16") << "BayerGB16" << qint64(64) << qint64(64) << qint64(65535)
                               << qint64(16);
    QTest::newRow("RGB8") << "RGB8" << qint64(640) << qint64(480) << qint64(255) << qint64(24);
    QTest::newRow("BGRa8") << "BGRa8" << qint64(640) << qint64(480) << qint64(255) << qint64(32);
    QTest::newRow("YUV422_8") << "YUV422_8" << qint64(640) << qint64(480) << qint64(255)
                              << qint64(16);
    QTest::newRow("YCbCr422_8") << "YCbCr422_8" << qint64(32) << qint64(8) << qint64(255)
                                << qint64(16);
}

void TestEmuCamera::payloadFollowsFormat()
{
    QFETCH(QString, format);
    QFETCH(qint64, width);
    QFETCH(qint64, height);
    QFETCH(qint64, dynamicRangeMax);
    QFETCH(qint64, pixelSize);
    m_camera->setEnumeration("PixelFormat", format.toUtf8().constData());
    m_camera->setInteger("Width", width);
    m_camera->setInteger("Height", height);
    const Tarpo::EPixelType type = Tarpo::GetPixelTypeFromName(format.toStdString());
    QCOMPARE(CEnumerationPtr(m_camera->map->GetNode("PixelFormat"))->GetIntValue(), int64_t(type));
    QCOMPARE(m_camera->integer("PayloadSize"),
             int64_t(Tarpo::ComputeBufferSize(type, uint32_t(width), uint32_t(height))));
    QCOMPARE(m_camera->integer("PixelDynamicRangeMax"), dynamicRangeMax);
    QCOMPARE(CEnumerationPtr(m_camera->map->GetNode("PixelSize"))->GetIntValue(), pixelSize);
    // The stream grabber and the transport layer see the same payload.
    Tarpo::IStreamGrabber* grabber = m_camera->device->GetStreamGrabber(0);
    QCOMPARE(CIntegerPtr(grabber->GetNodeMap()->GetNode("PayloadSize"))->GetValue(),
             m_camera->integer("PayloadSize"));
    QCOMPARE(CIntegerPtr(m_camera->device->GetTLNodeMap()->GetNode("PayloadSize"))->GetValue(),
             m_camera->integer("PayloadSize"));
}

void TestEmuCamera::resultingFrameRate_data()
{
    QTest::addColumn<double>("exposureUs");
    QTest::addColumn<bool>("rateEnable");
    QTest::addColumn<double>("rateHz");
    QTest::addColumn<bool>("limitOn");
    QTest::addColumn<qint64>("limitBps");
    QTest::addColumn<double>("expected");

    // Mono8 64 x 50 pixels: 3200 bytes per frame.
    QTest::newRow("exposure-limits") << 20000.0 << false << 1000.0 << false << qint64(0) << 50.0;
    QTest::newRow("frame-rate-below-exposure")
        << 1000.0 << true << 250.0 << false << qint64(0) << 250.0;
    QTest::newRow("frame-rate-above-exposure")
        << 10000.0 << true << 250.0 << false << qint64(0) << 100.0;
    QTest::newRow("link-limit") << 10.0 << false << 1.0 << true << qint64(3200000) << 1000.0;
    QTest::newRow("link-limit-off-ignored")
        << 10.0 << false << 1.0 << false << qint64(3200000) << 100000.0;
}

void TestEmuCamera::resultingFrameRate()
{
    QFETCH(double, exposureUs);
    QFETCH(bool, rateEnable);
    QFETCH(double, rateHz);
    QFETCH(bool, limitOn);
    QFETCH(qint64, limitBps);
    QFETCH(double, expected);
    m_camera->smallImage(64, 50);
    m_camera->setReal("ExposureTime", exposureUs);
    CBooleanPtr(m_camera->map->GetNode("AcquisitionFrameRateEnable"))->SetValue(rateEnable);
    m_camera->setReal("AcquisitionFrameRate", rateHz);
    m_camera->setEnumeration("DeviceLinkThroughputLimitMode", limitOn ? "On" : "Off");
    if (limitBps)
        m_camera->setInteger("DeviceLinkThroughputLimit", limitBps);
    QCOMPARE(m_camera->real("ResultingFrameRate"), expected);
}

void TestEmuCamera::refusals_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("prepare"); // "feature=value" written first, or empty

    QTest::newRow("width-not-multiple-of-increment") << "Width"
                                                     << "642"
                                                     << "";
    QTest::newRow("width-below-minimum") << "Width"
                                         << "12"
                                         << "";
    QTest::newRow("offset-beyond-sensor") << "OffsetX"
                                          << "8"
                                          << "";
    QTest::newRow("exposure-above-maximum") << "ExposureTime"
                                            << "20000000"
                                            << "";
    QTest::newRow("gain-negative") << "Gain"
                                   << "-1"
                                   << "";
    QTest::newRow("unknown-pixel-format") << "PixelFormat"
                                          << "Mono14"
                                          << "";
    QTest::newRow("read-only-sensor-width") << "SensorWidth"
                                            << "640"
                                            << "";
    QTest::newRow("read-only-payload") << "PayloadSize"
                                       << "1"
                                       << "";
    QTest::newRow("exposure-while-exposure-auto") << "ExposureTime"
                                                  << "5000"
                                                  << "ExposureAuto=Continuous";
    QTest::newRow("gain-while-gain-auto") << "Gain"
                                          << "3"
                                          << "GainAuto=Continuous";
    QTest::newRow("balance-while-balance-auto") << "BalanceRatio"
                                                << "2"
                                                << "BalanceWhiteAuto=Continuous";
    QTest::newRow("save-default-user-set") << "UserSetSave"
                                           << ""
                                           << "UserSetSelector=Default";
    QTest::newRow("software-trigger-with-line-source") << "TriggerSoftware"
                                                       << ""
                                                       << "TriggerSource=Line1";
    QTest::newRow("device-user-id-too-long") << "DeviceUserID" << QString(64, 'x') << "";
    QTest::newRow("auto-gain-lower-above-upper") << "AutoGainLowerLimit"
                                                 << "12"
                                                 << "AutoGainUpperLimit=6";
}

void TestEmuCamera::refusals()
{
    QFETCH(QString, feature);
    QFETCH(QString, value);
    QFETCH(QString, prepare);
    INodeMap* map = m_camera->map;
    if (!prepare.isEmpty()) {
        const QStringList parts = prepare.split('=');
        CValuePtr(map->GetNode(parts[0].toUtf8().constData()))
            ->FromString(parts[1].toUtf8().constData());
    }
    INode* node = map->GetNode(feature.toUtf8().constData());
    QVERIFY(node);
    const gcstring before = IsReadable(node) ? CValuePtr(node)->ToString() : gcstring();
    if (CCommandPtr command = node) {
        QVERIFY(!IsWritable(command));
        QVERIFY_EXCEPTION_THROWN(command->Execute(), GenICam::GenericException);
        return;
    }
    QVERIFY_EXCEPTION_THROWN(CValuePtr(node)->FromString(value.toUtf8().constData()),
                             GenICam::GenericException);
    if (IsReadable(node))
        QCOMPARE(QString(CValuePtr(node)->ToString().c_str()), QString(before.c_str()));
}

void TestEmuCamera::lockedWhileGrabbing_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QString>("value");

    QTest::newRow("Width") << "Width"
                           << "640";
    QTest::newRow("Height") << "Height"
                            << "480";
    QTest::newRow("OffsetX") << "OffsetX"
                             << "0";
    QTest::newRow("OffsetY") << "OffsetY"
                             << "0";
    QTest::newRow("PixelFormat") << "PixelFormat"
                                 << "Mono12p";
    QTest::newRow("DebugSensorWidth") << "DebugSensorWidth"
                                      << "1024";
    QTest::newRow("UserSetLoad") << "UserSetLoad"
                                 << "";
}

void TestEmuCamera::lockedWhileGrabbing()
{
    QFETCH(QString, feature);
    QFETCH(QString, value);
    m_camera->smallImage();
    INode* node = m_camera->map->GetNode(feature.toUtf8().constData());
    QVERIFY(IsWritable(node));
    Tarpo::IStreamGrabber* grabber = m_camera->device->GetStreamGrabber(0);
    grabber->Open();
    grabber->PrepareGrab();
    QCOMPARE(m_camera->integer("TLParamsLocked"), int64_t(1));
    QCOMPARE(CIntegerPtr(m_camera->device->GetTLNodeMap()->GetNode("TLParamsLocked"))->GetValue(),
             int64_t(1));
    QVERIFY(!IsWritable(node));
    if (CCommandPtr command = node)
        QVERIFY_EXCEPTION_THROWN(command->Execute(), GenICam::AccessException);
    else
        QVERIFY_EXCEPTION_THROWN(CValuePtr(node)->FromString(value.toUtf8().constData()),
                                 GenICam::AccessException);
    grabber->FinishGrab();
    QCOMPARE(m_camera->integer("TLParamsLocked"), int64_t(0));
    QVERIFY(IsWritable(node));
    if (CCommandPtr command = node)
        command->Execute();
    else
        CValuePtr(node)->FromString(value.toUtf8().constData());
    grabber->Close();
}

void TestEmuCamera::dependentCallbacks_data()
{
    QTest::addColumn<QString>("watched");
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("value");

    QTest::newRow("payload-after-width") << "PayloadSize"
                                         << "Width"
                                         << "320";
    QTest::newRow("payload-after-pixel-format") << "PayloadSize"
                                                << "PixelFormat"
                                                << "RGB8";
    QTest::newRow("dynamic-range-after-pixel-format") << "PixelDynamicRangeMax"
                                                      << "PixelFormat"
                                                      << "Mono12";
    QTest::newRow("offset-limit-after-width") << "OffsetX"
                                              << "Width"
                                              << "320";
    QTest::newRow("width-limit-after-offset") << "Width"
                                              << "OffsetX"
                                              << "0";
    QTest::newRow("frame-rate-after-exposure") << "ResultingFrameRate"
                                               << "ExposureTime"
                                               << "5000";
    QTest::newRow("frame-rate-after-enable") << "ResultingFrameRate"
                                             << "AcquisitionFrameRateEnable"
                                             << "1";
    QTest::newRow("width-lock-after-tl-params-locked") << "Width"
                                                       << "TLParamsLocked"
                                                       << "1";
    QTest::newRow("exposure-lock-after-exposure-auto") << "ExposureTime"
                                                       << "ExposureAuto"
                                                       << "Continuous";
    QTest::newRow("save-availability-after-selector") << "UserSetSave"
                                                      << "UserSetSelector"
                                                      << "Default";
    QTest::newRow("file-size-after-selector") << "FileSize"
                                              << "FileSelector"
                                              << "UserSet1";
    QTest::newRow("width-after-sensor-override") << "Width"
                                                 << "DebugSensorWidth"
                                                 << "1024";
}

void TestEmuCamera::dependentCallbacks()
{
    QFETCH(QString, watched);
    QFETCH(QString, written);
    QFETCH(QString, value);
    INode* node = m_camera->map->GetNode(watched.toUtf8().constData());
    QVERIFY(node);
    std::atomic<int> calls{0};
    CallbackHandleType handle = Register(node, [&calls](INode*) { ++calls; });
    CValuePtr(m_camera->map->GetNode(written.toUtf8().constData()))
        ->FromString(value.toUtf8().constData());
    QVERIFY(calls > 0);
    Deregister(handle);
}

void TestEmuCamera::sensorOverride()
{
    m_camera->setInteger("DebugSensorWidth", 2448);
    m_camera->setInteger("DebugSensorHeight", 2048);
    QCOMPARE(m_camera->integer("SensorWidth"), int64_t(2448));
    QCOMPARE(m_camera->integer("WidthMax"), int64_t(2448));
    QCOMPARE(CIntegerPtr(m_camera->map->GetNode("Width"))->GetMax(), int64_t(2448));
    m_camera->setInteger("Width", 2448);
    m_camera->setInteger("Height", 2048);
    QCOMPARE(m_camera->integer("PayloadSize"), int64_t(2448 * 2048));

    // A smaller sensor pulls the region in: offset first, then size.
    m_camera->setInteger("Width", 1000);
    m_camera->setInteger("OffsetX", 1400);
    m_camera->setInteger("DebugSensorWidth", 1200);
    QCOMPARE(m_camera->integer("Width"), int64_t(1000));
    QCOMPARE(m_camera->integer("OffsetX"), int64_t(200));
    m_camera->setInteger("DebugSensorWidth", 640);
    QCOMPARE(m_camera->integer("Width"), int64_t(640));
    QCOMPARE(m_camera->integer("OffsetX"), int64_t(0));

    // A fresh open emulates the standard sensor again.
    m_camera.reset();
    m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
    QCOMPARE(m_camera->integer("SensorWidth"), Emulator::EmuLimits::kDefaultSensorWidth);
}

void TestEmuCamera::deviceUserIdPersists()
{
    CStringPtr(m_camera->map->GetNode("DeviceUserID"))->SetValue("Left gate");
    Tarpo::DeviceInfoList_t infos;
    m_transportLayer->EnumerateDevices(infos);
    QCOMPARE(QString(infos[0].GetFriendlyName().c_str()),
             QString("Left gate (Emulated Camera EMU0001)"));
    QCOMPARE(QString(infos[0].GetUserDefinedName().c_str()), QString("Left gate"));
    QCOMPARE(QString(infos[1].GetFriendlyName().c_str()), QString("Emulated Camera (EMU0002)"));

    // Non-volatile: it survives closing the camera, unlike the image settings.
    m_camera->setInteger("Width", 640);
    m_camera.reset();
    m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
    QCOMPARE(QString(CStringPtr(m_camera->map->GetNode("DeviceUserID"))->GetValue().c_str()),
             QString("Left gate"));
    QCOMPARE(m_camera->integer("Width"), Emulator::EmuLimits::kDefaultSensorWidth);
    CStringPtr(m_camera->map->GetNode("DeviceUserID"))->SetValue("");
    m_transportLayer->EnumerateDevices(infos);
    QCOMPARE(QString(infos[0].GetFriendlyName().c_str()), QString("Emulated Camera (EMU0001)"));
}

void TestEmuCamera::temperatureIsPolled()
{
    INode* node = m_camera->map->GetNode("DeviceTemperature");
    QVERIFY(node->GetPollingTime() > 0);
    QVERIFY(!IsWritable(node));
    const double temperature = m_camera->real("DeviceTemperature");
    QVERIFY(temperature >= 35.0 && temperature <= 45.0);
}

void TestEmuCamera::imageFilename()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString good = dir.filePath("grey.png");
    QImage image(64, 32, QImage::Format_Grayscale8);
    image.fill(77);
    QVERIFY(image.save(good));
    const QString bad = dir.filePath("missing.png");

    CStringPtr fileName(m_camera->map->GetNode("ImageFilename"));
    try {
        fileName->SetValue(bad.toStdString());
        QFAIL("an unreadable file was taken");
    } catch (const GenICam::GenericException& e) {
        QVERIFY2(QString(e.GetDescription()).contains("missing.png"), e.GetDescription());
    }
    QCOMPARE(QString(fileName->GetValue().c_str()), QString());

    m_camera->smallImage(64, 32);
    fileName->SetValue(good.toStdString());
    QCOMPARE(QString(fileName->GetValue().c_str()), good);
    {
        Grab grab(m_camera->device, 2);
        m_camera->execute("AcquisitionStart");
        Tarpo::GrabResult result;
        QVERIFY(grab.next(result));
        QVERIFY(result.Succeeded());
        QCOMPARE(static_cast<const uint8_t*>(result.Buffer())[0], uint8_t(77));
        m_camera->execute("AcquisitionStop");
    }

    // A file that disappears after it was set fails the next acquisition start, clearly.
    QVERIFY(QFile::remove(good));
    try {
        m_camera->execute("AcquisitionStart");
        QFAIL("acquisition started without its file");
    } catch (const GenICam::GenericException& e) {
        QVERIFY2(QString(e.GetDescription()).contains("grey.png"), e.GetDescription());
    }
    QCOMPARE(CBooleanPtr(m_camera->map->GetNode("AcquisitionStatus"))->GetValue(), false);
}

QTEST_GUILESS_MAIN(TestEmuCamera)
#include "tst_emucamera.moc"
