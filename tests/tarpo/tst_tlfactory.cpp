// labels: sanitize
#include "tarpo/arvtransportlayer.h"
#include "tarpo/tlfactory.h"

#include <arv.h>

#include <QtTest>

using namespace Tarpo;

namespace {

int staticCreatorCalls = 0;

// Registers a transport layer from a static object, as the emulator's module does: this runs
// before main and possibly before the factory's own statics are initialised.
struct StaticRegistration
{
    StaticRegistration()
    {
        CTlFactory::RegisterTransportLayer("TstStaticClass", "Registered before main", [] {
            ++staticCreatorCalls;
            return std::unique_ptr<ITransportLayer>(
                std::make_unique<CArvTransportLayer<ITransportLayer>>(
                    "TstStaticClass", "Registered before main", arv_uv_interface_get_instance));
        });
    }
} staticRegistration;

bool listed(const TlInfoList_t& list, const char* deviceClass)
{
    return std::any_of(list.begin(), list.end(), [deviceClass](const CTlInfo& info) {
        return info.GetDeviceClass() == deviceClass;
    });
}

} // namespace

// The factory's bookkeeping of transport layers. Nothing here enumerates GigE cameras: that
// sends broadcasts and belongs to the tests that run in a private network namespace.
class tst_TlFactory : public QObject
{
    Q_OBJECT

private slots:
    void listsInstalledTransportLayersOnly()
    {
        TlInfoList_t list;
        const int count = CTlFactory::GetInstance().EnumerateTls(list);
        QCOMPARE(count, int(list.size()));
        QVERIFY(listed(list, "MorvexGigE"));
        QVERIFY(listed(list, "MorvexUsb"));
        QVERIFY(listed(list, "TstStaticClass"));
        QVERIFY(!listed(list, "Morvex1394"));
    }

    void createsSharedTransportLayers_data()
    {
        QTest::addColumn<QString>("deviceClass");
        QTest::addColumn<bool>("installed");
        QTest::newRow("gige") << "MorvexGigE" << true;
        QTest::newRow("usb") << "MorvexUsb" << true;
        QTest::newRow("registered-before-main") << "TstStaticClass" << true;
        QTest::newRow("firewire-not-installed") << "Morvex1394" << false;
        QTest::newRow("unknown-class") << "NoSuchClass" << false;
        QTest::newRow("empty-class") << "" << false;
    }

    void createsSharedTransportLayers()
    {
        QFETCH(QString, deviceClass);
        QFETCH(bool, installed);
        CTlFactory& factory = CTlFactory::GetInstance();
        ITransportLayer* first = factory.CreateTl(deviceClass.toStdString());
        ITransportLayer* second = factory.CreateTl(deviceClass.toStdString());
        QCOMPARE(first != nullptr, installed);
        QCOMPARE(second, first);
        if (!installed)
            return;
        QCOMPARE(QString::fromStdString(first->GetTlInfo().GetDeviceClass()), deviceClass);
        QCOMPARE(QString::fromStdString(first->CreateDeviceInfo().GetDeviceClass()), deviceClass);
        factory.ReleaseTl(second);
        factory.ReleaseTl(first);
        // Released as often as created: one more release is a bug of the caller.
        QVERIFY_EXCEPTION_THROWN(factory.ReleaseTl(first), GenICam::LogicalErrorException);
    }

    void gigeLayerOffersUnicast()
    {
        CTlFactory& factory = CTlFactory::GetInstance();
        ITransportLayer* gigE = factory.CreateTl("MorvexGigE");
        ITransportLayer* usb = factory.CreateTl("MorvexUsb");
        QVERIFY(dynamic_cast<IGigETransportLayer*>(gigE));
        QVERIFY(!dynamic_cast<IGigETransportLayer*>(usb));
        factory.ReleaseTl(usb);
        factory.ReleaseTl(gigE);
    }

    void staticRegistrationCreatesOnce()
    {
        CTlFactory& factory = CTlFactory::GetInstance();
        ITransportLayer* a = factory.CreateTl("TstStaticClass");
        factory.ReleaseTl(a);
        ITransportLayer* b = factory.CreateTl("TstStaticClass");
        factory.ReleaseTl(b);
        // Still loaded after the last release: its devices may outlive their creator's reference.
        QCOMPARE(b, a);
        QCOMPARE(staticCreatorCalls, 1);
    }

    void refusesForeignPointers()
    {
        CArvTransportLayer<ITransportLayer> foreign("MorvexUsb", "not the factory's",
                                                    arv_uv_interface_get_instance);
        QVERIFY_EXCEPTION_THROWN(CTlFactory::GetInstance().ReleaseTl(&foreign),
                                 GenICam::LogicalErrorException);
    }

    void createDeviceOfUnknownClassNamesIt()
    {
        CDeviceInfo info;
        info.SetDeviceClass("Morvex1394").SetFullName("Some-Camera-1");
        try {
            CTlFactory::GetInstance().CreateDevice(info);
            QFAIL("a device of an uninstalled class was created");
        } catch (const GenICam::RuntimeException& e) {
            QVERIFY2(QString(e.GetDescription()).contains("Morvex1394"), e.GetDescription());
        }
    }
};

QTEST_GUILESS_MAIN(tst_TlFactory)
#include "tst_tlfactory.moc"
