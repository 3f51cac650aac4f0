// labels: gui
#include "acquisition/stdfeaturelistcamera.h"
#include "features/docwindow.h"
#include "features/featuretreewindow.h"
#include "features/propertieswindow.h"
#include "genapi/genapi.h"
#include "qtwidgets/featuretreewidget.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"

#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// An opened emulated camera as the viewer holds it, its maps marked as the viewer marks them.
struct OpenCamera
{
    Tarpo::CDeviceInfo info;
    std::unique_ptr<StdFeatureListCamera> camera;

    bool open(int index)
    {
        Tarpo::DeviceInfoList_t devices;
        Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
        tl->EnumerateDevices(devices);
        Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
        info = devices.at(size_t(index));
        camera = std::make_unique<StdFeatureListCamera>(&info, nullptr, 8u << 20, false);
        camera->attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(info));
        camera->open();
        mark(map(), 0);
        mark(tlMap(), 1);
        return camera->isOpen();
    }
    static void mark(GenApi::INodeMap* map, int ordinal)
    {
        dynamic_cast<GenApi::IUserData*>(map->GetNode("Root"))->SetUserData(ordinal);
    }
    GenApi::INodeMap* map() const { return camera->device()->GetNodeMap(); }
    GenApi::INodeMap* tlMap() const { return camera->device()->GetTLNodeMap(); }
    ~OpenCamera()
    {
        if (camera) {
            camera->shutDown();
            camera->detachTarpoDevice();
        }
    }
};

QStringList column(QTableWidget* table, int which)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts << table->item(row, which)->text();
    return texts;
}

} // namespace

// The feature docks: the tree window's cameras and placeholder, the properties rows by kind of
// node, and the documentation with its samples by the node map a feature belongs to.
class tst_FeatureDocks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void treeWindowFollowsTheCurrentCamera();
    void propertyRows_data();
    void propertyRows();
    void debugLevelAddsRawProperties();
    void documentation_data();
    void documentation();

private:
    QTemporaryDir m_dir;
    OpenCamera m_camera;
};

void tst_FeatureDocks::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
    QVERIFY(m_camera.open(0));
}

void tst_FeatureDocks::treeWindowFollowsTheCurrentCamera()
{
    FeatureTreeWindow window("Features");
    Camera* camera = m_camera.camera.get();
    // A map for a camera never shown is not taken.
    window.addNodemap(camera, m_camera.map(), "Emulated Camera", "Camera");
    QVERIFY(!window.treeOf(camera));
    QSignalSpy current(&window, &FeatureTreeWindow::CurrentChanged);
    window.setCamera(camera);
    FeatureTreeWidget* tree = window.currentTree();
    QVERIFY(tree);
    QCOMPARE(window.windowTitle(), QString("Features [Emulated Camera (EMU0001)]"));
    window.addNodemap(camera, m_camera.map(), "Emulated Camera", "Camera");
    window.addNodemap(camera, m_camera.tlMap(), "Transport Layer", "TransportLayer");
    window.setCamera(camera); // the same camera again: nothing happens
    QCOMPARE(window.currentTree(), tree);
    window.removeCamera(camera);
    QCOMPARE(window.currentTree(), nullptr);
    QCOMPARE(window.windowTitle(), QString("Features"));
    QVERIFY(!window.placeholder()->isHidden());
    QCOMPARE(current.last().at(0).value<GenApi::INode*>(), nullptr);
    QVERIFY(!window.treeOf(camera));
    QCOMPARE(FeatureTreeWindow::userLevel2Visibility(TarpoViewer::EUserLevel(7)),
             GenApi::_UndefinedVisibility);
}

void tst_FeatureDocks::propertyRows_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QStringList>("first");
    QTest::newRow("integer") << "Width"
                             << QStringList{"Value", "Minimum", "Maximum", "Increment",
                                            "AccessMode"};
    QTest::newRow("enumeration") << "PixelFormat" << QStringList{"Value", "IntValue", "AccessMode"};
    QTest::newRow("command") << "AcquisitionStart" << QStringList{"Value", "IsDone", "AccessMode"};
    QTest::newRow("category") << "ImageFormatControl" << QStringList{"Value", "AccessMode"};
}

void tst_FeatureDocks::propertyRows()
{
    QFETCH(QString, feature);
    QFETCH(QStringList, first);
    PropertiesWindow window("Feature Properties");
    window.onCurrentChanged(m_camera.map()->GetNode(feature.toLatin1().constData()));
    const QStringList rows = column(window.table(), 0);
    QCOMPARE(rows.mid(0, first.size()), first);
    QCOMPARE(rows.size(), first.size() - 1 + 10); // the ten rows every node has
    QCOMPARE(rows.at(first.size() - 1 + 1), QString("Name"));
    QCOMPARE(column(window.table(), 1).at(first.size()), feature);
    window.onCurrentChanged(nullptr);
    QCOMPARE(window.table()->rowCount(), 0);
}

void tst_FeatureDocks::debugLevelAddsRawProperties()
{
    PropertiesWindow window("Feature Properties");
    window.onCurrentChanged(m_camera.map()->GetNode("WidthReg"));
    const int rows = window.table()->rowCount();
    window.onVisibilityChanged(GenApi::Invisible);
    const QStringList labels = column(window.table(), 0);
    QVERIFY(window.table()->rowCount() > rows);
    const int address = labels.indexOf("<Address>");
    QVERIFY(address >= 0);
    QVERIFY(column(window.table(), 1).at(address).startsWith("0x"));
    QVERIFY(column(window.table(), 1).at(labels.indexOf("Address")).startsWith("0x"));
    window.onVisibilityChanged(GenApi::Beginner);
    QCOMPARE(window.table()->rowCount(), rows);
}

void tst_FeatureDocks::documentation_data()
{
    QTest::addColumn<int>("map");
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QStringList>("contains");
    QTest::newRow("camera-integer")
        << 0 << "Width"
        << QStringList{"camera.Width.SetValue(", "int64_t i = camera.Width.GetValue();",
                       "tarpo-cli set -d DEVICE Width=",
                       "arv_device_set_integer_feature_value(device, \"Width\""};
    QTest::newRow("transport-layer")
        << 1 << "TLParamsLocked"
        << QStringList{"camera.GetTLParams().TLParamsLocked", "tarpo-cli get -d DEVICE -m tl"};
    QTest::newRow("enumeration-values")
        << 0 << "PixelFormat"
        << QStringList{"<b>C++ Enum Type:</b> PixelFormatEnums", "<h2>Possible Values</h2>",
                       "<b>C++ Enum Value:</b> PixelFormat_Mono8"};
    QTest::newRow("map-without-marker") << 2 << "Width" << QStringList{"<h1>"};
}

void tst_FeatureDocks::documentation()
{
    QFETCH(int, map);
    QFETCH(QString, feature);
    QFETCH(QStringList, contains);
    GenApi::INodeMap* nodeMap = map == 1 ? m_camera.tlMap() : m_camera.map();
    if (map == 2)
        OpenCamera::mark(nodeMap, -1);
    const QString html = DocWindow::documentation(nodeMap->GetNode(feature.toLatin1().constData()));
    for (const QString& text : contains)
        QVERIFY2(html.contains(text), qPrintable(text + "\n" + html));
    QCOMPARE(html.contains("C++ sample code"), map != 2);
    if (map == 2)
        OpenCamera::mark(nodeMap, 0);
}

QTEST_MAIN(tst_FeatureDocks)
#include "tst_featuredocks.moc"
