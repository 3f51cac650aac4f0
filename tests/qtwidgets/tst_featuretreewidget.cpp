// labels: gui sanitize
#include "genapi/genapi.h"
#include "messagelog/messagelog.h"
#include "qtwidgets/featurefiltermodel.h"
#include "qtwidgets/featuretreemodel.h"
#include "qtwidgets/featuretreewidget.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"

#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTreeView>
#include <QtTest>

namespace {

// An opened emulated camera, its device node map and its transport layer's map.
struct Camera
{
    Tarpo::ITarpoDevice* device = nullptr;

    bool open(int index)
    {
        Tarpo::DeviceInfoList_t devices;
        Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
        tl->EnumerateDevices(devices);
        Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
        if (index >= int(devices.size()))
            return false;
        device = Tarpo::CTlFactory::GetInstance().CreateDevice(devices[size_t(index)]);
        device->Open();
        return device->IsOpen();
    }
    GenApi::INodeMap* map() const { return device->GetNodeMap(); }
    void set(const char* name, const char* value)
    {
        GenApi::CValuePtr node = map()->GetNode(name);
        node->FromString(value);
    }
    QString get(const char* name) const
    {
        GenApi::CValuePtr node = map()->GetNode(name);
        return QString::fromStdString(node->ToString().c_str());
    }
    ~Camera()
    {
        if (device) {
            device->Close();
            Tarpo::CTlFactory::GetInstance().DestroyDevice(device);
        }
    }
};

// The tree over a camera's map, shown, with every row of the camera's map in view.
struct Tree
{
    FeatureTreeWidget widget{"Favorites", nullptr, GenApi::Guru, false};
    FeatureTreeModel* model() const { return widget.model(); }

    explicit Tree(GenApi::INodeMap* map)
    {
        widget.resize(500, 4000);
        widget.addNodeMap(map, "Emulated Camera", "Camera", true);
        widget.show();
    }
    // The row of a feature, in view, with its value read.
    QModelIndex show(GenApi::INode* node)
    {
        const QModelIndex source = model()->indexOf(node);
        QTreeView* view = widget.treeView();
        const QModelIndex shown = widget.filterModel()->mapFromSource(source);
        view->scrollTo(shown);
        for (QModelIndex parent = shown.parent(); parent.isValid(); parent = parent.parent())
            view->expand(parent);
        (void)QTest::qWaitFor([&] { return model()->valueKnown(node); }, 5000);
        model()->waitForReads(5000);
        return source.siblingAtColumn(FeatureTreeModel::ValueColumn);
    }
    QString value(GenApi::INode* node) { return show(node).data().toString(); }
};

} // namespace

// The feature tree over the emulator's real node map: editing every kind of feature, cells that
// follow the features they depend on, locking while grabbing, search counts, favorites, and a
// device that closes while its tree is shown.
class tst_FeatureTreeWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void editEachKind_data();
    void editEachKind();
    void dependentCellsFollow_data();
    void dependentCellsFollow();
    void grabbingLocksGeometry();
    void searchCountsWhatTheLevelHides_data();
    void searchCountsWhatTheLevelHides();
    void favoritesSurviveARestart();
    void readsOnlyWhatIsShown();
    void deviceClosedWhileShown();

private:
    QTemporaryDir m_dir;
};

void tst_FeatureTreeWidget::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
}

void tst_FeatureTreeWidget::editEachKind_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("device");
    QTest::newRow("integer") << "Width"
                             << "640" << true << "640";
    QTest::newRow("integer-with-unit") << "Height"
                                       << "480 px" << true << "480";
    QTest::newRow("integer-off-increment") << "Width"
                                           << "641" << false << "1920";
    QTest::newRow("float") << "ExposureTime"
                           << "2500.5" << true << "2500.5";
    QTest::newRow("float-above-maximum") << "Gain"
                                         << "1e9" << false << "0";
    QTest::newRow("enumeration-symbolic") << "PixelFormat"
                                          << "Mono12" << true << "Mono12";
    QTest::newRow("enumeration-unknown") << "PixelFormat"
                                         << "Mono99" << false << "Mono8";
    QTest::newRow("boolean") << "AcquisitionFrameRateEnable"
                             << "1" << true << "1";
    QTest::newRow("string") << "DeviceUserID"
                            << "bench camera" << true << "bench camera";
    QTest::newRow("not-a-number") << "ExposureTime"
                                  << "fast" << false << "10000";
}

void tst_FeatureTreeWidget::editEachKind()
{
    QFETCH(QString, feature);
    QFETCH(QString, typed);
    QFETCH(bool, accepted);
    QFETCH(QString, device);
    Camera camera;
    QVERIFY(camera.open(0));
    const QByteArray name = feature.toLatin1();
    GenApi::INode* node = camera.map()->GetNode(name.constData());
    QVERIFY(node);
    const QString before = camera.get(name.constData());
    Tree tree(camera.map());
    const QModelIndex cell = tree.show(node);
    QVERIFY(cell.flags() & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable));
    QSignalSpy refused(tree.model(), &FeatureTreeModel::writeRefused);
    QString error;
    QCOMPARE(tree.model()->writeValue(cell, typed, &error), accepted);
    QCOMPARE(camera.get(name.constData()), accepted ? device : before);
    QCOMPARE(refused.count(), accepted ? 0 : 1);
    QCOMPARE(error.isEmpty(), accepted);
    // The cell shows what the device holds.
    QTRY_VERIFY(tree.model()->waitForReads(5000) &&
                (cell.data().toString().startsWith(camera.get(name.constData())) ||
                 cell.data(Qt::CheckStateRole).isValid() ||
                 node->GetPrincipalInterfaceType() == GenApi::intfIEnumeration));
}

void tst_FeatureTreeWidget::dependentCellsFollow_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("dependent");
    QTest::newRow("width-payload") << "Width"
                                   << "320"
                                   << "PayloadSize";
    QTest::newRow("format-range") << "PixelFormat"
                                  << "Mono12"
                                  << "PixelDynamicRangeMax";
}

void tst_FeatureTreeWidget::dependentCellsFollow()
{
    QFETCH(QString, feature);
    QFETCH(QString, value);
    QFETCH(QString, dependent);
    Camera camera;
    QVERIFY(camera.open(0));
    Tree tree(camera.map());
    GenApi::INode* changed = camera.map()->GetNode(feature.toLatin1().constData());
    GenApi::INode* follower = camera.map()->GetNode(dependent.toLatin1().constData());
    QVERIFY(changed && follower);
    const QModelIndex cell = tree.show(changed);
    const QModelIndex followerCell = tree.show(follower);
    const QString before = followerCell.data().toString();
    QString error;
    QVERIFY2(tree.model()->writeValue(cell, value, &error), qPrintable(error));
    // The callback marks the dependent stale and it is read again, without a refresh.
    QTRY_VERIFY(followerCell.data().toString() != before);
    QVERIFY(
        followerCell.data().toString().startsWith(camera.get(dependent.toLatin1().constData())));
    // What the edit changed elsewhere is highlighted for a moment.
    QVERIFY(followerCell.data(FeatureTreeModel::HighlightRole).toBool());
    QVERIFY(!cell.data(FeatureTreeModel::HighlightRole).toBool()); // not the edited one itself
}

void tst_FeatureTreeWidget::grabbingLocksGeometry()
{
    Camera camera;
    QVERIFY(camera.open(0));
    Tree tree(camera.map());
    GenApi::INode* width = camera.map()->GetNode("Width");
    const QModelIndex cell = tree.show(width);
    QVERIFY(cell.flags() & Qt::ItemIsEditable);
    QVERIFY(!cell.data(Qt::ForegroundRole).isValid());
    GenApi::CIntegerPtr locked = camera.device->GetTLNodeMap()->GetNode("TLParamsLocked");
    locked->SetValue(1);
    QTRY_VERIFY(cell.data(Qt::ForegroundRole).isValid()); // greyed, with the reason
    QVERIFY(!(cell.flags() & Qt::ItemIsEditable));
    QVERIFY(cell.data(Qt::ToolTipRole).toString().contains("Locked"));
    locked->SetValue(0);
    QTRY_VERIFY(cell.flags() & Qt::ItemIsEditable);
}

void tst_FeatureTreeWidget::searchCountsWhatTheLevelHides_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("found");
    QTest::newRow("entry-name-finds-its-enumeration")
        << "Line1" << int(GenApi::Guru) << "TriggerSource";
    QTest::newRow("tool-tip-words") << "region of interest" << int(GenApi::Beginner) << "Width";
    QTest::newRow("hidden-by-level") << "debug" << int(GenApi::Beginner) << QString();
}

void tst_FeatureTreeWidget::searchCountsWhatTheLevelHides()
{
    QFETCH(QString, query);
    QFETCH(int, level);
    QFETCH(QString, found);
    Camera camera;
    QVERIFY(camera.open(0));
    Tree tree(camera.map());
    tree.widget.setVisibility(GenApi::EVisibility(level));
    QSignalSpy counts(&tree.widget, &FeatureTreeWidget::filterMatchesChanged);
    tree.widget.searchField()->setText(query);
    QVERIFY(!counts.isEmpty());
    const int all = counts.last().at(0).toInt();
    const int hidden = counts.last().at(1).toInt();
    QVERIFY(all > 0);
    QVERIFY(hidden <= all);
    if (found.isEmpty()) {
        QCOMPARE(hidden, all); // every debug feature is invisible at Beginner
        return;
    }
    GenApi::INode* node = camera.map()->GetNode(found.toLatin1().constData());
    const QModelIndex shown = tree.widget.filterModel()->mapFromSource(tree.model()->indexOf(node));
    QVERIFY(shown.isValid());
}

void tst_FeatureTreeWidget::favoritesSurviveARestart()
{
    Camera camera;
    QVERIFY(camera.open(0));
    {
        Tree tree(camera.map());
        const QModelIndex cell = tree.show(camera.map()->GetNode("ExposureTime"));
        tree.model()->setFavorite(cell, true);
        QVERIFY(tree.model()->isFavorite(camera.map()->GetNode("ExposureTime")));
        QVERIFY(tree.widget.exportFavorites(m_dir.filePath("favorites.txt")));
    }
    Tree again(camera.map());
    QCOMPARE(again.model()->favorites(), QStringList{"Camera/ExposureTime"});
    // Under "Favorites", first row of the tree.
    const QModelIndex favorites = again.model()->index(0, 0);
    QCOMPARE(again.model()->rowCount(favorites), 1);
    again.model()->setFavorites({});
    QVERIFY(again.widget.importFavorites(m_dir.filePath("favorites.txt")));
    QCOMPARE(again.model()->favorites(), QStringList{"Camera/ExposureTime"});
}

void tst_FeatureTreeWidget::readsOnlyWhatIsShown()
{
    Camera camera;
    QVERIFY(camera.open(0));
    GenApi::NodeList_t nodes;
    camera.map()->GetNodes(nodes);
    FeatureTreeWidget widget("Favorites", nullptr, GenApi::Guru, false);
    widget.resize(400, 300);
    widget.addNodeMap(camera.map(), "Emulated Camera", "Camera", true);
    widget.show();
    QTest::qWait(100);
    widget.model()->waitForReads(5000);
    // Opening the tree shows the categories: nothing to read yet.
    QCOMPARE(widget.model()->readCount(), 0);
    widget.model()->indexOf(camera.map()->GetNode("Width"));
    widget.treeView()->expandAll();
    QTest::qWait(100);
    widget.model()->waitForReads(5000);
    const int reads = widget.model()->readCount();
    // A 300-pixel view holds a few rows, far fewer than the map's features.
    QVERIFY2(reads > 0 && reads < 40, qPrintable(QString::number(reads)));
    widget.hide();
    widget.Refresh();
    QTest::qWait(100);
    QCOMPARE(widget.model()->readCount(), reads); // a hidden tree reads nothing
}

void tst_FeatureTreeWidget::deviceClosedWhileShown()
{
    auto camera = std::make_unique<Camera>();
    QVERIFY(camera->open(1));
    camera->set("DebugReadDelay", "2000"); // reads under way when the device closes
    Tree tree(camera->map());
    tree.widget.treeView()->expandAll();
    tree.model()->buildAll();
    tree.widget.treeView()->expandAll();
    QTest::qWait(20);
    tree.widget.deviceIsClosed();
    QCOMPARE(tree.model()->rowCount(), 0);
    camera->set("DebugReadDelay", "0");
    camera.reset(); // the device goes: nothing of the tree may touch it afterwards
    tree.widget.Refresh();
    QTest::qWait(100);
}

QTEST_MAIN(tst_FeatureTreeWidget)
#include "tst_featuretreewidget.moc"
