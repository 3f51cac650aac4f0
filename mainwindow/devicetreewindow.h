#pragma once

// The "Devices" dock: the device tree, or a note when no camera interface is installed. Turns
// the tree's arrivals and removals into log entries, offers the context menus of devices and of
// the transport layers to the main window, and follows the current camera by selecting its
// device.
// Thread: GUI only.

#include "qtwidgets/treewindowbase.h"
#include "tarpo/deviceinfo.h"

#include <QMenu>
#include <QPoint>

class Camera;
class DeviceTreeWidget;
class QLabel;

class DeviceTreeWindow : public TreeWindowBase
{
    Q_OBJECT

public:
    // `monitorMode` is passed on to the tree.
    DeviceTreeWindow(bool monitorMode, QWidget* parent = nullptr,
                     Qt::WindowFlags flags = Qt::WindowFlags());

    TreeWidgetBase* currentTreeWidget() const override;
    DeviceTreeWidget* deviceTree() const { return m_deviceTree; }
    // Null when a transport layer is installed.
    QLabel* noInterfaceLabel() const { return m_noInterfaceLabel; }

    void selectDevice(const Tarpo::CDeviceInfo* info);
    // A camera announced by address: listed from the next scan on, and selected.
    void addDevice(const Tarpo::CDeviceInfo& info);
    void selectByNameAsync(const QString& name, bool requestOpen);
    int selectedDevices(Tarpo::DeviceInfoList* devices);

signals:
    // The receiver fills the menu, shows it at `pos` (global) and deletes it.
    void customDeviceContextMenuRequested(QMenu* menu, QPoint pos);
    void customRootContextMenuRequested(QMenu* menu, QPoint pos);

public slots:
    void refresh();
    void setAutoScanEnabled(bool enabled);
    void setTooltipLevel(unsigned int level);
    void onCameraChanged(Camera* camera);
    void onDeviceDetected(const Tarpo::CDeviceInfo* info);
    // The parameter keeps the interface's own spelling.
    void onDeviceRemoved(const Tarpo::CDeviceInfo* info, bool regualarRemoval);
    void contextualMenu(const QPoint& pos);

private:
    DeviceTreeWidget* m_deviceTree;
    QLabel* m_noInterfaceLabel = nullptr;
};
