#include "testdevice.h"

#include <QtTest>

#include <atomic>
#include <memory>
#include <thread>

using namespace GenApi;

Q_DECLARE_METATYPE(GenApi::EAccessMode)
Q_DECLARE_METATYPE(GenApi::EInterfaceType)
Q_DECLARE_METATYPE(GenApi::EVisibility)

// The node map facade over our own test device: values, limits, the GenApi write rules,
// access modes, callbacks through the dependency graph, polling, properties and bad input.
class tst_NodeMap : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestDevice> m_device;
    std::unique_ptr<CNodeMapRef> m_map;
    INode* node(const char* name) { return m_map->_GetNode(name); }

    // Records which nodes' callbacks ran, in order.
    struct Recorder
    {
        QStringList calls;
        std::vector<CallbackHandleType> handles;
        void watch(INodeMap* map, const QStringList& names,
                   ECallbackType type = cbPostInsideLock)
        {
            for (const QString& name : names) {
                handles.push_back(Register(
                    map->GetNode(name.toStdString()),
                    [this](INode* n) { calls << QString::fromStdString(n->GetName()); }, type));
            }
        }
    };

private slots:
    void init();
    void cleanup();

    void nodeKinds_data();
    void nodeKinds();
    void metadata();
    void accessModes_data();
    void accessModes();
    void refusedWrites_data();
    void refusedWrites();
    void valuesReachTheRegisters();
    void limitsFollowOtherRegisters();
    void selectorChoosesTheRegister();
    void commandIsDone();
    void callbacksReachDependents_data();
    void callbacksReachDependents();
    void callbackDeregistration();
    void outsideLockCallbacksRunUnlocked();
    void pollingFiresDueNodes();
    void properties();
    void userDataAndCaching();
    void smartPointersCast();
    void failingPortGivesGenICamException();
    void badDescriptions_data();
    void badDescriptions();
    void fileDescriptionsAreCached();
    void selectorSetIteratesCombinations();
};

void tst_NodeMap::init()
{
    m_device = std::make_unique<TestDevice>();
    m_map = std::make_unique<CNodeMapRef>("TestDevice");
    m_map->_LoadXMLFromString(testDeviceXml().toStdString());
    QVERIFY(m_map->_Connect(m_device.get(), "Device"));
}

void tst_NodeMap::cleanup()
{
    m_map.reset();
    m_device.reset();
}

void tst_NodeMap::nodeKinds_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<EInterfaceType>("principal");
    QTest::addColumn<QStringList>("interfaces");
    QTest::newRow("integer") << "Width" << intfIInteger << QStringList{"IInteger"};
    QTest::newRow("intreg-is-register") << "WidthReg" << intfIInteger
                                        << QStringList{"IInteger", "IRegister"};
    QTest::newRow("swissknife") << "PayloadSize" << intfIInteger << QStringList{"IInteger"};
    QTest::newRow("floatreg") << "GainReg" << intfIFloat << QStringList{"IFloat", "IRegister"};
    QTest::newRow("enumeration") << "PixelFormat" << intfIEnumeration
                                 << QStringList{"IEnumeration"};
    QTest::newRow("entry") << "EnumEntry_PixelFormat_Mono8" << intfIEnumEntry
                           << QStringList{"IEnumEntry"};
    QTest::newRow("boolean") << "ReverseX" << intfIBoolean << QStringList{"IBoolean"};
    QTest::newRow("command") << "DeviceReset" << intfICommand << QStringList{"ICommand"};
    QTest::newRow("stringreg") << "DeviceUserID" << intfIString
                               << QStringList{"IString", "IRegister"};
    QTest::newRow("register") << "LUTValueAll" << intfIRegister << QStringList{"IRegister"};
    QTest::newRow("category") << "Root" << intfICategory << QStringList{"ICategory"};
    QTest::newRow("port") << "Device" << intfIPort << QStringList{"IPort"};
}

void tst_NodeMap::nodeKinds()
{
    QFETCH(QString, name);
    QFETCH(EInterfaceType, principal);
    QFETCH(QStringList, interfaces);
    INode* n = node(name.toLatin1());
    QVERIFY2(n, qPrintable(name));
    QCOMPARE(n->GetPrincipalInterfaceType(), principal);
    const QStringList all{"IInteger", "IFloat",      "IEnumeration", "IEnumEntry", "IBoolean",
                          "ICommand", "IString",     "IRegister",    "ICategory",  "IPort"};
    for (const QString& iface : all) {
        bool is = false;
        if (iface == "IInteger") is = CIntegerPtr(n).IsValid();
        if (iface == "IFloat") is = CFloatPtr(n).IsValid();
        if (iface == "IEnumeration") is = CEnumerationPtr(n).IsValid();
        if (iface == "IEnumEntry") is = CEnumEntryPtr(n).IsValid();
        if (iface == "IBoolean") is = CBooleanPtr(n).IsValid();
        if (iface == "ICommand") is = CCommandPtr(n).IsValid();
        if (iface == "IString") is = CStringPtr(n).IsValid();
        if (iface == "IRegister") is = CRegisterPtr(n).IsValid();
        if (iface == "ICategory") is = CCategoryPtr(n).IsValid();
        if (iface == "IPort") is = CPortPtr(n).IsValid();
        QVERIFY2(is == interfaces.contains(iface), qPrintable(name + " as " + iface));
    }
}

void tst_NodeMap::metadata()
{
    INode* width = node("Width");
    QCOMPARE(QString::fromStdString(width->GetDisplayName()), QString("Image Width"));
    QCOMPARE(QString::fromStdString(width->GetToolTip()), QString("Width of the image in pixels."));
    QVERIFY(QString::fromStdString(width->GetDescription()).startsWith("Width of the image provided"));
    QCOMPARE(width->GetNameSpace(), Standard);
    QCOMPARE(QString::fromStdString(width->GetName(true)), QString("Std::Width"));
    QCOMPARE(node("GainRaw")->GetNameSpace(), Custom);
    // The display name falls back to the name.
    QCOMPARE(QString::fromStdString(node("OffsetX")->GetDisplayName()), QString("OffsetX"));
    QCOMPARE(node("OffsetX")->GetVisibility(), Expert);
    QCOMPARE(node("GainRaw")->GetVisibility(), Guru);
    QCOMPARE(node("TLParamsLocked")->GetVisibility(), Invisible);
    node("OffsetX")->ImposeVisibility(Guru);
    QCOMPARE(node("OffsetX")->GetVisibility(), Guru);
    node("OffsetX")->ImposeVisibility(Beginner); // imposing can only hide further
    QCOMPARE(node("OffsetX")->GetVisibility(), Expert);
    QCOMPARE(QString::fromStdString(width->GetDeviceName()), QString("TestDevice"));
    QCOMPARE(QString::fromStdString(node("DeviceReset")->GetEventID()), QString("9001"));
    QVERIFY(width->IsStreamable());
    QVERIFY(!node("OffsetX")->IsStreamable());
    NodeList_t categories;
    width->GetCategories(categories);
    QCOMPARE(categories.size(), size_t(1));
    QCOMPARE(QString::fromStdString(categories[0]->GetName()), QString("ImageFormatControl"));
    QVERIFY(width->IsFeature());
    QVERIFY(!node("WidthReg")->IsFeature());

    FeatureList_t features;
    CCategoryPtr(node("Root"))->GetFeatures(features);
    QCOMPARE(features.size(), size_t(4));
    CEnumerationPtr pixelFormat = node("PixelFormat");
    StringList_t symbolics;
    pixelFormat->GetSymbolics(symbolics); // available entries only
    QCOMPARE(symbolics, StringList_t({"Mono8", "Mono12"}));
    NodeList_t entries;
    pixelFormat->GetEntries(entries);
    QCOMPARE(entries.size(), size_t(3));
    QCOMPARE(QString::fromStdString(entries[0]->GetDisplayName()), QString("Mono 8"));
    QCOMPARE(QString::fromStdString(entries[1]->GetDisplayName()), QString("Mono12"));
    QCOMPARE(CEnumEntryPtr(entries[2])->GetSymbolic(), gcstring("RGB8"));
    QCOMPARE(QString::fromStdString(CFloatPtr(node("Gain"))->GetUnit()), QString("dB"));
}

void tst_NodeMap::accessModes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("locked");
    QTest::addColumn<EAccessMode>("mode");
    QTest::newRow("plain-rw") << "Width" << false << RW;
    QTest::newRow("ro-register") << "WidthMaxReg" << false << RO;
    QTest::newRow("ro-through-pvalue") << "DeviceTemperature" << false << RO;
    QTest::newRow("swissknife") << "PayloadSize" << false << RO;
    QTest::newRow("locked-by-tlparams") << "Width" << true << RO;
    QTest::newRow("locked-enumeration") << "PixelFormat" << true << RO;
    QTest::newRow("unlocked-neighbour") << "GainRaw" << true << RW;
    QTest::newRow("always-locked") << "LockedValue" << false << RO;
    QTest::newRow("not-implemented") << "NotImplementedValue" << false << NI;
    QTest::newRow("imposed-ro") << "ImposedReadOnly" << false << RO;
    QTest::newRow("unavailable-entry") << "EnumEntry_PixelFormat_RGB8" << false << NA;
    QTest::newRow("available-entry") << "EnumEntry_PixelFormat_Mono8" << false << RO;
    QTest::newRow("category") << "Root" << false << RO;
}

void tst_NodeMap::accessModes()
{
    QFETCH(QString, name);
    QFETCH(bool, locked);
    QFETCH(EAccessMode, mode);
    CIntegerPtr(node("TLParamsLocked"))->SetValue(locked ? 1 : 0);
    QCOMPARE(node(name.toLatin1())->GetAccessMode(), mode);
}

void tst_NodeMap::refusedWrites_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("exception");
    QTest::addColumn<QString>("text");
    QTest::newRow("below-minimum") << "Width" << "12" << "OutOfRangeException" << "below the minimum 16";
    QTest::newRow("above-maximum") << "Width" << "2048" << "OutOfRangeException" << "above the maximum 1024";
    QTest::newRow("width-not-multiple-of-increment") << "Width" << "642" << "OutOfRangeException"
                                                     << "not a multiple of the increment 4";
    QTest::newRow("float-not-multiple-of-increment") << "ExposureTime" << "100.25"
                                                     << "OutOfRangeException" << "increment 0.5";
    QTest::newRow("float-above-maximum") << "Gain" << "24.5" << "OutOfRangeException" << "above the maximum 24";
    QTest::newRow("read-only") << "WidthMaxReg" << "100" << "AccessException" << "not writable (access mode RO)";
    QTest::newRow("locked") << "LockedValue" << "6" << "AccessException" << "is locked";
    QTest::newRow("not-implemented") << "NotImplementedValue" << "6" << "AccessException" << "not implemented";
    QTest::newRow("unavailable-entry") << "PixelFormat" << "RGB8" << "AccessException" << "'RGB8' is not available";
    QTest::newRow("unknown-entry") << "PixelFormat" << "Mono99" << "InvalidArgumentException" << "not one of its entries";
    QTest::newRow("string-too-long") << "DeviceUserID" << "a name longer than sixteen" << "OutOfRangeException" << "longer than the maximum 16";
    QTest::newRow("not-a-number") << "Gain" << "loud" << "InvalidArgumentException" << "is not a number";
    QTest::newRow("not-an-integer") << "Width" << "64px" << "InvalidArgumentException" << "is not an integer";
    QTest::newRow("not-a-boolean") << "ReverseX" << "maybe" << "InvalidArgumentException" << "is not a boolean";
    QTest::newRow("register-wrong-length") << "LUTValueAll" << "0x0102" << "InvalidArgumentException" << "is not 8 bytes";
}

void tst_NodeMap::refusedWrites()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(QString, exception);
    QFETCH(QString, text);
    CValuePtr target = node(name.toLatin1());
    QVERIFY(target);
    const gcstring before = IsReadable(target) ? target->ToString() : gcstring();
    const int writesBefore = m_device->writeCount;
    try {
        target->FromString(value.toStdString());
        QFAIL("the write was accepted");
    } catch (const GenICam::GenericException& e) {
        QCOMPARE(QString(e.GetExceptionType()), exception);
        QVERIFY2(QString(e.GetDescription()).contains(text), e.GetDescription());
        QVERIFY2(QString(e.GetDescription()).contains(name), e.GetDescription());
    }
    QCOMPARE(m_device->writeCount, writesBefore); // nothing reached the device
    if (IsReadable(target))
        QCOMPARE(target->ToString(), before);
}

void tst_NodeMap::valuesReachTheRegisters()
{
    CIntegerPtr(node("Width"))->SetValue(800);
    QCOMPARE(m_device->u32(TestDevice::WidthAddr), 800u);
    QCOMPARE(CIntegerPtr(node("Width"))->GetValue(), int64_t(800));
    QCOMPARE(CIntegerPtr(node("PayloadSize"))->GetValue(), int64_t(800 * 480));

    CFloatPtr gain = node("Gain");
    gain->SetValue(6.5);
    QCOMPARE(gain->GetValue(), 6.5);
    CEnumerationPtr(node("PixelFormat"))->FromString("Mono12");
    QCOMPARE(m_device->u32(TestDevice::PixelFormatAddr), 0x01100005u);
    QCOMPARE(CEnumerationPtr(node("PixelFormat"))->ToString(), gcstring("Mono12"));
    QCOMPARE(CEnumerationPtr(node("PixelFormat"))->GetCurrentEntry()->GetSymbolic(),
             gcstring("Mono12"));

    // Two booleans share one register: each keeps its own bit.
    CBooleanPtr(node("ReverseY"))->SetValue(true);
    CBooleanPtr(node("ReverseX"))->SetValue(true);
    CBooleanPtr(node("ReverseY"))->SetValue(false);
    QCOMPARE(m_device->u32(TestDevice::ReverseAddr), 1u);
    QVERIFY(CBooleanPtr(node("ReverseX"))->GetValue());

    CStringPtr(node("DeviceUserID"))->SetValue("line 3");
    QCOMPARE(CStringPtr(node("DeviceUserID"))->GetValue(), gcstring("line 3"));
    const uint8_t lut[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    CRegisterPtr(node("LUTValueAll"))->Set(lut, 8);
    QCOMPARE(CRegisterPtr(node("LUTValueAll"))->ToString(), gcstring("0x0102030405060708"));
    CRegisterPtr(node("LUTValueAll"))->FromString("0x0807060504030201");
    uint8_t back[8];
    CRegisterPtr(node("LUTValueAll"))->Get(back, 8);
    QCOMPARE(int(back[0]), 8);
    QCOMPARE(CRegisterPtr(node("LUTValueAll"))->GetAddress(), int64_t(0x800));
}

void tst_NodeMap::limitsFollowOtherRegisters()
{
    CIntegerPtr width = node("Width");
    CIntegerPtr offsetX = node("OffsetX");
    QCOMPARE(width->GetMax(), int64_t(1024));
    QCOMPARE(offsetX->GetMax(), int64_t(1024 - 640));
    offsetX->SetValue(100);
    QCOMPARE(width->GetMax(), int64_t(924));
    QVERIFY_EXCEPTION_THROWN(width->SetValue(1000), GenICam::OutOfRangeException);
    width->SetValue(924);
    QCOMPARE(offsetX->GetMax(), int64_t(100));
    QCOMPARE(width->GetInc(), int64_t(4));
    QCOMPARE(width->GetMin(), int64_t(16));
}

void tst_NodeMap::selectorChoosesTheRegister()
{
    CEnumerationPtr selector = node("GainSelector");
    CIntegerPtr gainRaw = node("GainRaw");
    selector->FromString("Red");
    gainRaw->SetValue(7);
    selector->FromString("Blue");
    gainRaw->SetValue(9);
    QCOMPARE(m_device->u32(TestDevice::GainRawAddr + 4), 7u);
    QCOMPARE(m_device->u32(TestDevice::GainRawAddr + 8), 9u);
    selector->FromString("Red");
    QCOMPARE(gainRaw->GetValue(), int64_t(7));
    QVERIFY(selector->IsSelector());
    FeatureList_t selecting;
    gainRaw->GetSelectingFeatures(selecting);
    QCOMPARE(selecting.size(), size_t(1));
    QCOMPARE(selecting[0]->GetName(), gcstring("GainSelector"));
}

void tst_NodeMap::commandIsDone()
{
    CCommandPtr reset = node("DeviceReset");
    reset->Execute();
    QCOMPARE(m_device->resetCount, 1);
    QVERIFY(!reset->IsDone()); // the device has not cleared the register yet
    m_device->setU32(TestDevice::ResetAddr, 0);
    QVERIFY(reset->IsDone());
    m_device->selfClearingReset = true;
    reset->Execute();
    QVERIFY(reset->IsDone());
    QCOMPARE(m_device->resetCount, 2);
}

void tst_NodeMap::callbacksReachDependents_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QStringList>("watched");
    QTest::addColumn<QStringList>("expected");
    const QStringList watched{"Width", "OffsetX", "PayloadSize", "GainRaw", "ReverseX", "ReverseY",
                              "PixelFormat", "Gain"};
    // The written node first, then what depends on it (pMax through an invalidator, a formula's
    // variable, a selected feature, a register sharing the address), nothing unrelated.
    QTest::newRow("width") << "Width" << "800" << watched
                           << QStringList{"Width", "PayloadSize", "OffsetX"};
    QTest::newRow("offset-invalidates-width-max") << "OffsetX" << "8" << watched
                                                  << QStringList{"OffsetX", "Width", "PayloadSize"};
    QTest::newRow("selector") << "GainSelector" << "Blue" << watched << QStringList{"GainRaw"};
    QTest::newRow("shared-register") << "ReverseX" << "1" << watched
                                     << QStringList{"ReverseX", "ReverseY"};
    QTest::newRow("lock-changes-access") << "TLParamsLocked" << "1" << watched
                                         << QStringList{"Width", "OffsetX", "PixelFormat",
                                                        "PayloadSize"};
    QTest::newRow("unrelated") << "ExposureTime" << "500" << watched << QStringList{};
}

void tst_NodeMap::callbacksReachDependents()
{
    QFETCH(QString, written);
    QFETCH(QString, value);
    QFETCH(QStringList, watched);
    QFETCH(QStringList, expected);
    Recorder recorder;
    recorder.watch(m_map->_GetNodeMap(), watched);
    CValuePtr(node(written.toLatin1()))->FromString(value.toStdString());
    QStringList sortedCalls = recorder.calls;
    QStringList sortedExpected = expected;
    sortedCalls.sort();
    sortedExpected.sort();
    QCOMPARE(sortedCalls, sortedExpected); // each exactly once
    if (!expected.isEmpty() && watched.contains(written))
        QCOMPARE(recorder.calls.first(), written);
}

void tst_NodeMap::callbackDeregistration()
{
    int calls = 0;
    CallbackHandleType handle = Register(node("Width"), [&](INode*) { ++calls; });
    CIntegerPtr(node("Width"))->SetValue(800);
    QVERIFY(Deregister(handle));
    CIntegerPtr(node("Width"))->SetValue(640);
    QCOMPARE(calls, 1);
    QVERIFY(!node("Width")->DeregisterCallback(handle));

    // A callback that removes itself while running does not disturb the others.
    int others = 0;
    CallbackHandleType self = nullptr;
    self = Register(node("Width"), [&](INode* n) { n->DeregisterCallback(self); });
    Register(node("Width"), [&](INode*) { ++others; });
    CIntegerPtr(node("Width"))->SetValue(800);
    CIntegerPtr(node("Width"))->SetValue(640);
    QCOMPARE(others, 2);
}

void tst_NodeMap::outsideLockCallbacksRunUnlocked()
{
    CLock& lock = m_map->_GetNodeMap()->GetLock();
    auto lockedElsewhere = [&lock] {
        std::atomic<bool> gotIt{false};
        std::thread probe([&] {
            if (lock.TryLock()) {
                gotIt = true;
                lock.Unlock();
            }
        });
        probe.join();
        return !gotIt;
    };
    QList<bool> insideLocked, outsideLocked;
    Register(node("Width"), [&](INode*) { insideLocked << lockedElsewhere(); }, cbPostInsideLock);
    Register(node("Width"), [&](INode*) { outsideLocked << lockedElsewhere(); }, cbPostOutsideLock);
    CIntegerPtr(node("Width"))->SetValue(800);
    QCOMPARE(insideLocked, QList<bool>{true});
    QCOMPARE(outsideLocked, QList<bool>{false});
}

void tst_NodeMap::pollingFiresDueNodes()
{
    QCOMPARE(node("DeviceTemperature")->GetPollingTime(), int64_t(1000));
    QCOMPARE(node("Width")->GetPollingTime(), int64_t(-1));
    QList<int> seen;
    Register(node("DeviceTemperature"),
             [&](INode* n) { seen << int(CIntegerPtr(n)->GetValue()); });
    m_map->_Poll(500);
    QVERIFY(seen.isEmpty());
    m_device->temperature = 45;
    m_map->_Poll(500);
    QCOMPARE(seen, QList<int>{45});
    m_map->_Poll(999);
    QCOMPARE(seen.size(), 1);
    m_map->_Poll(1);
    QCOMPARE(seen.size(), 2);
}

void tst_NodeMap::properties()
{
    gcstring_vector names;
    node("Width")->GetPropertyNames(names);
    for (const char* expected : {"Name", "NameSpace", "ToolTip", "pValue", "Min", "pMax", "Inc"})
        QVERIFY2(std::find(names.begin(), names.end(), gcstring(expected)) != names.end(), expected);
    gcstring value, attribute;
    QVERIFY(node("Width")->GetProperty("pValue", value, attribute));
    QCOMPARE(value, gcstring("WidthReg"));
    QVERIFY(node("Root")->GetProperty("pFeature", value, attribute));
    QCOMPARE(value, gcstring("ImageFormatControl\tAnalogControl\tDeviceControl\tFileAccessControl"));
    QVERIFY(node("GainRawReg")->GetProperty("pIndex", value, attribute));
    QCOMPARE(value, gcstring("GainSelectorReg"));
    QCOMPARE(attribute, gcstring("Offset=4"));
    QVERIFY(node("Width")->GetProperty("Name", value, attribute));
    QCOMPARE(value, gcstring("Width"));
    QVERIFY(!node("Width")->GetProperty("Formula", value, attribute));

    NodeList_t children;
    node("Width")->GetChildren(children);
    QStringList childNames;
    for (INode* child : children)
        childNames << QString::fromStdString(child->GetName());
    childNames.sort();
    QCOMPARE(childNames, QStringList({"TLParamsLocked", "WidthMaxReg", "WidthReg"}));
    NodeList_t parents;
    node("Width")->GetParents(parents);
    QVERIFY(std::any_of(parents.begin(), parents.end(),
                        [](INode* p) { return p->GetName() == "PayloadSize"; }));
}

void tst_NodeMap::userDataAndCaching()
{
    CUserDataPtr root = node("Root");
    QVERIFY(root);
    QCOMPARE(root->GetUserData(), NoUserData);
    root->SetUserData(1);
    QCOMPARE(CUserDataPtr(m_map->_GetNode("Root"))->GetUserData(), UserData_t(1));
    QCOMPARE(node("Width")->GetCachingMode(), WriteThrough);
    QCOMPARE(node("DeviceTemperature")->GetCachingMode(), NoCache);
    QVERIFY(!node("DeviceTemperature")->IsCachable());
    QCOMPARE(node("Width")->IsAccessModeCacheable(), Yes);
    QCOMPARE(node("DeviceTemperature")->IsAccessModeCacheable(), No);
}

void tst_NodeMap::smartPointersCast()
{
    CIntegerPtr integer = node("WidthReg");
    CRegisterPtr reg = integer; // cast between interfaces of one node
    QVERIFY(reg);
    QCOMPARE(reg->GetLength(), int64_t(4));
    CFloatPtr notFloat = integer;
    QVERIFY(!notFloat);
    QVERIFY(!IsReadable(notFloat));
    QVERIFY_EXCEPTION_THROWN(notFloat->GetValue(), GenICam::AccessException);
    CIntegerPtr missing = m_map->_GetNode("NoSuchNode");
    QVERIFY(!missing.IsValid());
    QVERIFY(integer == reg);
}

void tst_NodeMap::failingPortGivesGenICamException()
{
    m_device->failing = true;
    try {
        CIntegerPtr(node("Width"))->GetValue();
        QFAIL("no exception");
    } catch (const GenICam::GenericException& e) {
        QVERIFY2(QString(e.GetDescription()).contains("cable unplugged"), e.GetDescription());
    }
    QVERIFY_EXCEPTION_THROWN(CIntegerPtr(node("Width"))->SetValue(800), GenICam::GenericException);

    // A map whose port was never connected says so.
    CNodeMapRef unconnected;
    unconnected._LoadXMLFromString(testDeviceXml().toStdString());
    try {
        CIntegerPtr(unconnected._GetNode("Width"))->GetValue();
        QFAIL("no exception");
    } catch (const GenICam::GenericException& e) {
        QVERIFY2(QString(e.GetDescription()).contains("port not connected"), e.GetDescription());
    }
}

void tst_NodeMap::badDescriptions_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("text");
    QByteArray xml = testDeviceXml();
    QTest::newRow("empty") << QByteArray() << "empty";
    QTest::newRow("truncated") << xml.left(xml.size() / 2) << "Malformed GenICam XML";
    QTest::newRow("unclosed-element") << QByteArray("<RegisterDescription><Integer Name=\"A\">")
                                      << "Malformed GenICam XML";
    QTest::newRow("not-genicam") << QByteArray("<html><body/></html>")
                                 << "not a GenICam register description";
    QByteArray missing = xml;
    missing.replace("<pValue>WidthReg</pValue>", "<pValue>NoSuchRegister</pValue>");
    QTest::newRow("missing-node") << missing
                                  << "node 'Width' refers to the missing node 'NoSuchRegister' in <pValue>";
}

void tst_NodeMap::badDescriptions()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, text);
    CNodeMapRef map;
    try {
        map._LoadXMLFromString(xml.toStdString());
        QFAIL("the description was accepted");
    } catch (const GenICam::RuntimeException& e) {
        QVERIFY2(QString(e.GetDescription()).contains(text), e.GetDescription());
    }
    QVERIFY(!map.IsValid());
    QVERIFY(!map._GetNodeMap());
}

void tst_NodeMap::fileDescriptionsAreCached()
{
    CNodeMapFactory::ClearCache();
    CNodeMapRef map;
    map._LoadXMLFromFile(QFINDTESTDATA("testdevice.xml").toStdString());
    QCOMPARE(CNodeMapFactory::CacheSize(), size_t(1));
    QVERIFY(map._GetNode("Width"));
    CNodeMapFactory::ClearCache();
    QCOMPARE(CNodeMapFactory::CacheSize(), size_t(0));
    try {
        map._LoadXMLFromFile("/nonexistent/camera.xml");
        QFAIL("a missing file was accepted");
    } catch (const GenICam::RuntimeException& e) {
        QVERIFY2(QString(e.GetDescription()).contains("/nonexistent/camera.xml"), e.GetDescription());
    }
}

void tst_NodeMap::selectorSetIteratesCombinations()
{
    CSelectorSet set(node("GainRaw"));
    QVERIFY(!set.IsEmpty());
    FeatureList_t selectors;
    set.GetSelectorList(selectors);
    QCOMPARE(selectors.size(), size_t(1));
    CEnumerationPtr(node("GainSelector"))->FromString("Blue");
    CSelectorSet fromBlue(node("GainRaw"));
    QStringList visited;
    QVERIFY(fromBlue.SetFirst());
    do
        visited << QString::fromStdString(CEnumerationPtr(node("GainSelector"))->ToString());
    while (fromBlue.SetNext());
    QCOMPARE(visited, QStringList({"All", "Red", "Blue"}));
    fromBlue.Restore();
    QCOMPARE(CEnumerationPtr(node("GainSelector"))->ToString(), gcstring("Blue"));
    QVERIFY(CSelectorSet(node("Width")).IsEmpty());
}

QTEST_APPLESS_MAIN(tst_NodeMap)
#include "tst_nodemap.moc"
