#pragma once

// The cameras the transport layers can see, grouped under one row per transport layer. The
// devices are enumerated on a worker thread (GigE discovery takes about a second), at
// construction, on refresh and, while auto scan is on, every two seconds; each result is
// compared with the rows by full name: arrivals are added and reported, removals are reported
// with whether they were regular (the camera went while not open here) or not.
//
// A camera that misses one scan is not gone at once: a GigE camera's discovery answer can be
// lost, so a closed GigE camera is dropped after two misses in a row, other cameras after one.
// A camera open in the application is never dropped by a scan: its loss comes as a removal
// notice through onSurpriseRemoved(); if it misses three scans without one, deviceClose asks
// the application to close it, and the next scan drops it.
//
// The monitor-mode flag marks every camera as opened stream-only (as a multicast monitor) in
// its status and tool tip.
// Thread: GUI only; the enumeration runs on a pool thread and comes back queued.

#include "qtwidgets/treewidgetbase.h"
#include "tarpo/deviceinfo.h"

#include <QFutureWatcher>
#include <QString>
#include <QTimer>

#include <map>
#include <memory>

class QStandardItem;
class QStandardItemModel;
class QTreeView;
class QModelIndex;
class QItemSelection;

namespace Tarpo {
class ITarpoDevice;
}

class DeviceTreeWidget : public TreeWidgetBase
{
    Q_OBJECT

public:
    enum ItemKind
    {
        NoItem = 0,
        DeviceItem = 1,
        TransportLayerItem = 2
    };
    enum Column
    {
        NameColumn,
        SerialColumn,
        ModelColumn,
        AddressColumn,
        StatusColumn,
        ColumnCount
    };
    static constexpr int kAutoScanIntervalMs = 2000;

    DeviceTreeWidget(QWidget* parent, bool monitorMode);
    ~DeviceTreeWidget() override;

    QTreeView* treeView() const override { return m_view; }

    // Whether any transport layer is installed.
    bool HasTL() const { return m_hasTransportLayer; }
    ItemKind getDeviceTypeAt(const QPoint& pos) const;
    void selectByInfo(const Tarpo::CDeviceInfo& info);
    // `name` is a full name, serial number or friendly name; empty clears the selection. With
    // `requestOpen` the selected device is asked to open. False when no device has that name.
    bool selectByName(const QString& name, bool requestOpen);
    // As selectByName, now or as soon as a scan lists the device; the newest request wins.
    void selectByNameAsync(const QString& name, bool requestOpen);
    // The selected devices, the first selected first; returns their number.
    int selectedDevices(Tarpo::DeviceInfoList* devices) const;
    // The devices listed now.
    int deviceCount() const { return int(m_devices.size()); }
    Tarpo::DeviceInfoList devices() const;
    bool isScanning() const { return m_scanRunning; }
    // Scans finished since construction.
    int scanCount() const { return m_scanCount; }

    void refresh(bool fullRescan);
    void setAutoScanEnabled(bool enabled);
    bool isAutoScanEnabled() const { return m_autoScan; }
    // 0 normal, 1 verbose (every property of the device).
    unsigned tooltipLevel() const { return m_tooltipLevel; }
    void setTooltipLevel(unsigned level) { m_tooltipLevel = level; }
    void updateAllToolTips();
    // Tool tips written since construction (for tests and diagnostics).
    int toolTipUpdates() const { return m_toolTipUpdates; }

signals:
    void deviceDetected(const Tarpo::CDeviceInfo* info);
    void deviceRemoved(const Tarpo::CDeviceInfo* info, bool regularRemoval);
    void currentDeviceChanged(const Tarpo::CDeviceInfo* info);
    void deviceOpenRequest();
    void deviceClose(const Tarpo::CDeviceInfo* info);
    void itemSelectionChanged();
    void deviceListChanged();

public slots:
    void onOpenDevice(Tarpo::ITarpoDevice* device);
    void onCloseDevice(Tarpo::ITarpoDevice* device);
    void onSurpriseRemoved(const QString& friendlyName, const QString& fullName);

private:
    struct ScanResult
    {
        Tarpo::TlInfoList_t transportLayers;
        Tarpo::DeviceInfoList_t devices;
    };
    struct Entry
    {
        std::unique_ptr<Tarpo::CDeviceInfo> info; // stable while the row exists
        QStandardItem* item = nullptr;            // the name cell
        bool open = false;
        int misses = 0;
    };

    static ScanResult enumerate();
    void startScan();
    void onScanFinished();
    void applyScan(const ScanResult& result);
    QStandardItem* transportLayerItem(const GenICam::gcstring& deviceClass);
    void addDevice(const Tarpo::CDeviceInfo& info);
    // Removes the row; the info stays valid while deviceRemoved is emitted.
    void removeDevice(const GenICam::gcstring& fullName, bool regularRemoval);
    void setOpen(Entry& entry, bool open);
    void updateToolTip(const Entry& entry);
    const Entry* entryAt(const QModelIndex& index) const;
    Entry* findByName(const QString& name);
    void tryPendingSelection();
    void onCurrentChanged(const QModelIndex& current);
    void onActivated(const QModelIndex& index);

    QTreeView* m_view;
    QStandardItemModel* m_model;
    const bool m_monitorMode;
    bool m_hasTransportLayer = false;
    std::map<GenICam::gcstring, Entry> m_devices;          // by full name
    std::map<GenICam::gcstring, QStandardItem*> m_tlItems; // by device class
    QFutureWatcher<ScanResult> m_scanWatcher;
    QTimer m_autoScanTimer;
    bool m_scanRunning = false;
    bool m_rescanRequested = false;
    bool m_autoScan = true;
    unsigned m_tooltipLevel = 0;
    int m_toolTipUpdates = 0;
    int m_scanCount = 0;
    QString m_pendingName; // an asynchronous selection waiting for its device
    bool m_pendingOpen = false;
};
