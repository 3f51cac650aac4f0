#include "qtwidgets/devicetreewidget.h"

#include "qtbase/devicename.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"
#include "trace/trace.h"

#include <QHeaderView>
#include <QStandardItemModel>
#include <QTreeView>
#include <QVBoxLayout>
#include <QtConcurrent>

namespace {

const char* const kCategory = "DeviceTreeWidget";
const int kInfoRole = Qt::UserRole + 1; // the device's full name on its name cell

// Scans a device may miss before it counts as gone.
int allowedMisses(const Tarpo::CDeviceInfo& info)
{
    return info.GetDeviceClass() == "MorvexGigE" ? 2 : 1;
}
const int kOpenDeviceMisses = 3;

QString transportLayerTitle(const GenICam::gcstring& deviceClass)
{
    if (deviceClass == "MorvexGigE")
        return "GigE";
    if (deviceClass == "MorvexUsb")
        return "USB3 Vision";
    if (deviceClass == "MorvexCamEmu")
        return "Camera Emulator";
    return QString::fromStdString(deviceClass);
}

QString infoProperty(const Tarpo::CDeviceInfo& info, const char* name)
{
    GenICam::gcstring value;
    return info.GetPropertyValue(name, value) ? deviceString(info, value) : QString();
}

} // namespace

DeviceTreeWidget::DeviceTreeWidget(QWidget* parent, bool monitorMode)
    : TreeWidgetBase(parent), m_view(new QTreeView(this)), m_model(new QStandardItemModel(this)),
      m_monitorMode(monitorMode)
{
    qRegisterMetaType<const Tarpo::CDeviceInfo*>("const Tarpo::CDeviceInfo*");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    m_model->setHorizontalHeaderLabels({"Device", "Serial Number", "Model", "Address", "Status"});
    m_view->setModel(m_model);
    m_view->setObjectName("deviceTreeView");
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setUniformRowHeights(true);
    m_view->header()->setSectionResizeMode(QHeaderView::Interactive);
    m_view->setColumnWidth(NameColumn, 190);
    m_view->setColumnWidth(SerialColumn, 80);
    setFocusProxy(m_view);

    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &DeviceTreeWidget::itemSelectionChanged);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) { onCurrentChanged(current); });
    connect(m_view, &QTreeView::activated, this, &DeviceTreeWidget::onActivated);
    connect(m_view, &QTreeView::doubleClicked, this, &DeviceTreeWidget::onActivated);
    // pool thread -> GUI thread, queued by the watcher
    connect(&m_scanWatcher, &QFutureWatcher<ScanResult>::finished, this,
            &DeviceTreeWidget::onScanFinished);
    m_autoScanTimer.setSingleShot(true);
    m_autoScanTimer.setInterval(kAutoScanIntervalMs);
    connect(&m_autoScanTimer, &QTimer::timeout, this, &DeviceTreeWidget::startScan);

    Tarpo::TlInfoList_t transportLayers;
    Tarpo::CTlFactory::GetInstance().EnumerateTls(transportLayers);
    m_hasTransportLayer = !transportLayers.empty();
    for (const Tarpo::CTlInfo& tl : transportLayers)
        transportLayerItem(tl.GetDeviceClass());
    if (m_hasTransportLayer)
        startScan();
}

DeviceTreeWidget::~DeviceTreeWidget()
{
    // A scan still running keeps running on its pool thread; its result goes nowhere.
    m_scanWatcher.disconnect(this);
}

// ---- scanning ---------------------------------------------------------------------------------

DeviceTreeWidget::ScanResult DeviceTreeWidget::enumerate()
{
    ScanResult result;
    try {
        Tarpo::CTlFactory& factory = Tarpo::CTlFactory::GetInstance();
        factory.EnumerateTls(result.transportLayers);
        factory.EnumerateDevices(result.devices);
    } catch (const std::exception& e) {
        TarpoViewer::Trace::debug(kCategory, "device enumeration failed: %s", e.what());
    }
    return result;
}

void DeviceTreeWidget::startScan()
{
    if (m_scanRunning) {
        m_rescanRequested = true;
        return;
    }
    m_scanRunning = true;
    m_scanWatcher.setFuture(QtConcurrent::run(&DeviceTreeWidget::enumerate));
}

void DeviceTreeWidget::onScanFinished()
{
    m_scanRunning = false;
    ++m_scanCount;
    applyScan(m_scanWatcher.result());
    tryPendingSelection();
    if (m_rescanRequested) {
        m_rescanRequested = false;
        startScan();
    } else if (m_autoScan) {
        m_autoScanTimer.start();
    }
}

void DeviceTreeWidget::refresh(bool fullRescan)
{
    Q_UNUSED(fullRescan); // every scan asks every transport layer
    m_autoScanTimer.stop();
    startScan();
}

void DeviceTreeWidget::setAutoScanEnabled(bool enabled)
{
    m_autoScan = enabled;
    if (!enabled)
        m_autoScanTimer.stop();
    else if (!m_scanRunning && !m_autoScanTimer.isActive() && m_hasTransportLayer)
        m_autoScanTimer.start();
}

void DeviceTreeWidget::applyScan(const ScanResult& result)
{
    for (const Tarpo::CTlInfo& tl : result.transportLayers)
        transportLayerItem(tl.GetDeviceClass());
    std::map<GenICam::gcstring, const Tarpo::CDeviceInfo*> found;
    for (const Tarpo::CDeviceInfo& info : result.devices)
        found[info.GetFullName()] = &info;

    std::vector<GenICam::gcstring> gone;
    for (auto& [fullName, entry] : m_devices) {
        if (found.count(fullName)) {
            entry.misses = 0;
            continue;
        }
        ++entry.misses;
        if (!entry.open && entry.misses >= allowedMisses(*entry.info))
            gone.push_back(fullName);
        else if (entry.open && entry.misses == kOpenDeviceMisses)
            emit deviceClose(entry.info.get());
    }
    bool changed = !gone.empty();
    for (const GenICam::gcstring& fullName : gone)
        removeDevice(fullName, true);
    for (const auto& [fullName, info] : found) {
        if (m_devices.count(fullName))
            continue;
        addDevice(*info);
        changed = true;
    }
    if (changed)
        emit deviceListChanged();
}

// ---- rows -------------------------------------------------------------------------------------

QStandardItem* DeviceTreeWidget::transportLayerItem(const GenICam::gcstring& deviceClass)
{
    const auto it = m_tlItems.find(deviceClass);
    if (it != m_tlItems.end())
        return it->second;
    auto* item = new QStandardItem(transportLayerTitle(deviceClass));
    item->setSelectable(false);
    item->setToolTip(QString("Transport layer %1").arg(QString::fromStdString(deviceClass)));
    QList<QStandardItem*> row{item};
    for (int column = 1; column < ColumnCount; ++column) {
        auto* cell = new QStandardItem;
        cell->setSelectable(false);
        row << cell;
    }
    m_model->appendRow(row);
    m_view->setFirstColumnSpanned(item->row(), QModelIndex(), true);
    m_view->expand(item->index());
    m_tlItems[deviceClass] = item;
    return item;
}

void DeviceTreeWidget::addDevice(const Tarpo::CDeviceInfo& info)
{
    Entry entry;
    entry.info = std::make_unique<Tarpo::CDeviceInfo>(info);
    const QString fullName = deviceString(info, info.GetFullName());
    auto* name = new QStandardItem(formatDeviceName(info));
    name->setData(fullName, kInfoRole);
    QString address = infoProperty(info, "IpAddress");
    if (address.isEmpty())
        address = infoProperty(info, "Interface");
    QList<QStandardItem*> row{name, new QStandardItem(deviceString(info, info.GetSerialNumber())),
                              new QStandardItem(deviceString(info, info.GetModelName())),
                              new QStandardItem(address), new QStandardItem};
    QStandardItem* parent = transportLayerItem(info.GetDeviceClass());
    parent->appendRow(row);
    m_view->expand(parent->index());
    entry.item = name;
    const Tarpo::CDeviceInfo* stable = entry.info.get();
    Entry& stored = m_devices[info.GetFullName()] = std::move(entry);
    setOpen(stored, false);
    TarpoViewer::Trace::debug(kCategory, "detected %s", info.GetFullName().c_str());
    emit deviceDetected(stable);
}

void DeviceTreeWidget::removeDevice(const GenICam::gcstring& fullName, bool regularRemoval)
{
    const auto it = m_devices.find(fullName);
    if (it == m_devices.end())
        return;
    // The entry leaves the map first, so that receivers see the list without it; its info
    // lives until the signal has been delivered.
    Entry entry = std::move(it->second);
    m_devices.erase(it);
    entry.item->parent()->removeRow(entry.item->row());
    TarpoViewer::Trace::debug(kCategory, "removed %s", fullName.c_str());
    emit deviceRemoved(entry.info.get(), regularRemoval);
}

void DeviceTreeWidget::setOpen(Entry& entry, bool open)
{
    entry.open = open;
    QFont font = m_view->font();
    font.setBold(open);
    const int row = entry.item->row();
    QStandardItem* parent = entry.item->parent();
    for (int column = 0; column < ColumnCount; ++column)
        parent->child(row, column)->setFont(font);
    QString status;
    if (open)
        status = m_monitorMode ? "Open (monitor)" : "Open";
    parent->child(row, StatusColumn)->setText(status);
    updateToolTip(entry);
}

void DeviceTreeWidget::updateToolTip(const Entry& entry)
{
    const Tarpo::CDeviceInfo& info = *entry.info;
    QString text = QString("<b>%1</b>").arg(formatDeviceName(info).toHtmlEscaped());
    if (m_tooltipLevel == 0) {
        text += QString("<br/>Model: %1<br/>Serial number: %2")
                    .arg(deviceString(info, info.GetModelName()).toHtmlEscaped(),
                         deviceString(info, info.GetSerialNumber()).toHtmlEscaped());
        const QString address = infoProperty(info, "IpAddress");
        if (!address.isEmpty())
            text += QString("<br/>IP address: %1").arg(address.toHtmlEscaped());
    } else {
        GenICam::gcstring_vector names;
        info.GetPropertyNames(names);
        text += "<table>";
        for (const GenICam::gcstring& name : names)
            text += QString("<tr><td>%1:</td><td>%2</td></tr>")
                        .arg(QString::fromStdString(name).toHtmlEscaped(),
                             infoProperty(info, name.c_str()).toHtmlEscaped());
        text += "</table>";
    }
    if (entry.open)
        text += "<br/><i>Open in this application.</i>";
    if (m_monitorMode)
        text += "<br/><i>Opens stream-only, as a multicast monitor.</i>";
    const int row = entry.item->row();
    QStandardItem* parent = entry.item->parent();
    for (int column = 0; column < ColumnCount; ++column)
        parent->child(row, column)->setToolTip(text);
    ++m_toolTipUpdates;
}

void DeviceTreeWidget::updateAllToolTips()
{
    for (const auto& entry : m_devices)
        updateToolTip(entry.second);
}

const DeviceTreeWidget::Entry* DeviceTreeWidget::entryAt(const QModelIndex& index) const
{
    if (!index.isValid())
        return nullptr;
    const QString fullName = index.siblingAtColumn(NameColumn).data(kInfoRole).toString();
    if (fullName.isEmpty())
        return nullptr;
    const auto it = m_devices.find(GenICam::gcstring(fullName.toStdString()));
    return it == m_devices.end() ? nullptr : &it->second;
}

DeviceTreeWidget::Entry* DeviceTreeWidget::findByName(const QString& name)
{
    const auto full = m_devices.find(GenICam::gcstring(name.toStdString()));
    if (full != m_devices.end())
        return &full->second;
    for (auto& [fullName, entry] : m_devices) {
        const Tarpo::CDeviceInfo& info = *entry.info;
        if (deviceString(info, info.GetSerialNumber()) == name ||
            deviceString(info, info.GetFriendlyName()) == name ||
            deviceString(info, info.GetFullName()) == name)
            return &entry;
    }
    return nullptr;
}

// ---- selection --------------------------------------------------------------------------------

DeviceTreeWidget::ItemKind DeviceTreeWidget::getDeviceTypeAt(const QPoint& pos) const
{
    const QModelIndex index = m_view->indexAt(m_view->viewport()->mapFrom(this, pos));
    if (!index.isValid())
        return NoItem;
    return entryAt(index) ? DeviceItem : TransportLayerItem;
}

void DeviceTreeWidget::selectByInfo(const Tarpo::CDeviceInfo& info)
{
    selectByName(deviceString(info, info.GetFullName()), false);
}

bool DeviceTreeWidget::selectByName(const QString& name, bool requestOpen)
{
    if (name.isEmpty()) {
        m_view->selectionModel()->clear();
        return true;
    }
    Entry* entry = findByName(name);
    if (!entry)
        return false;
    const QModelIndex index = entry->item->index();
    m_view->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                         QItemSelectionModel::Rows);
    m_view->scrollTo(index);
    if (requestOpen)
        emit deviceOpenRequest();
    return true;
}

void DeviceTreeWidget::selectByNameAsync(const QString& name, bool requestOpen)
{
    m_pendingName = name;
    m_pendingOpen = requestOpen;
    tryPendingSelection();
}

void DeviceTreeWidget::tryPendingSelection()
{
    if (m_pendingName.isEmpty())
        return;
    if (selectByName(m_pendingName, m_pendingOpen))
        m_pendingName.clear();
}

int DeviceTreeWidget::selectedDevices(Tarpo::DeviceInfoList* devices) const
{
    devices->clear();
    const QModelIndex current = m_view->currentIndex();
    QModelIndexList rows = m_view->selectionModel()->selectedRows(NameColumn);
    // The current row leads: it is the one the user picked last.
    std::stable_sort(rows.begin(), rows.end(),
                     [&current](const QModelIndex& a, const QModelIndex&) {
                         return a == current.siblingAtColumn(NameColumn);
                     });
    for (const QModelIndex& index : rows)
        if (const Entry* entry = entryAt(index))
            devices->push_back(*entry->info);
    return int(devices->size());
}

Tarpo::DeviceInfoList DeviceTreeWidget::devices() const
{
    Tarpo::DeviceInfoList list;
    for (const auto& entry : m_devices)
        list.push_back(*entry.second.info);
    return list;
}

void DeviceTreeWidget::onCurrentChanged(const QModelIndex& current)
{
    const Entry* entry = entryAt(current);
    emit currentDeviceChanged(entry ? entry->info.get() : nullptr);
}

void DeviceTreeWidget::onActivated(const QModelIndex& index)
{
    if (entryAt(index))
        emit deviceOpenRequest();
}

// ---- state of the application's devices -------------------------------------------------------

void DeviceTreeWidget::onOpenDevice(Tarpo::ITarpoDevice* device)
{
    if (!device)
        return;
    const auto it = m_devices.find(device->GetDeviceInfo().GetFullName());
    if (it != m_devices.end())
        setOpen(it->second, true);
}

void DeviceTreeWidget::onCloseDevice(Tarpo::ITarpoDevice* device)
{
    if (!device)
        return;
    const auto it = m_devices.find(device->GetDeviceInfo().GetFullName());
    if (it != m_devices.end())
        setOpen(it->second, false);
}

void DeviceTreeWidget::onSurpriseRemoved(const QString& friendlyName, const QString& fullName)
{
    Q_UNUSED(friendlyName);
    Entry* entry = findByName(fullName);
    if (!entry)
        return;
    removeDevice(entry->info->GetFullName(), false);
    emit deviceListChanged();
}
