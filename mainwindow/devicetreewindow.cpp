#include "mainwindow/devicetreewindow.h"

#include "acquisition/camera.h"
#include "messagelog/messagelog.h"
#include "qtbase/devicename.h"
#include "qtwidgets/devicetreewidget.h"
#include "tarpo/tarpodevice.h"
#include "trace/trace.h"

#include <QApplication>
#include <QLabel>

namespace {

const char* const kCategory = "DeviceTreeWindow";

} // namespace

DeviceTreeWindow::DeviceTreeWindow(bool monitorMode, QWidget* parent, Qt::WindowFlags flags)
    : TreeWindowBase(parent, flags), m_deviceTree(new DeviceTreeWidget(this, monitorMode))
{
    if (m_deviceTree->HasTL()) {
        setWidget(m_deviceTree);
        m_deviceTree->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(m_deviceTree, &QWidget::customContextMenuRequested, this,
                &DeviceTreeWindow::contextualMenu);
        connect(m_deviceTree, &DeviceTreeWidget::deviceDetected, this,
                &DeviceTreeWindow::onDeviceDetected);
        connect(m_deviceTree, &DeviceTreeWidget::deviceRemoved, this,
                &DeviceTreeWindow::onDeviceRemoved);
        return;
    }
    m_deviceTree->hide();
    m_noInterfaceLabel = new QLabel(this);
    m_noInterfaceLabel->setTextFormat(Qt::RichText);
    m_noInterfaceLabel->setText("<i>No camera interface has been installed. Use the tarpo Setup "
                                "to install a camera interface.</i>");
    m_noInterfaceLabel->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_noInterfaceLabel->setWordWrap(true);
    m_noInterfaceLabel->setTextInteractionFlags(Qt::NoTextInteraction);
    m_noInterfaceLabel->setFrameShape(QFrame::NoFrame);
    m_noInterfaceLabel->setMargin(8);
    setWidget(m_noInterfaceLabel);
}

TreeWidgetBase* DeviceTreeWindow::currentTreeWidget() const
{
    return m_deviceTree;
}

void DeviceTreeWindow::contextualMenu(const QPoint& pos)
{
    const DeviceTreeWidget::ItemKind kind = m_deviceTree->getDeviceTypeAt(pos);
    if (kind == DeviceTreeWidget::NoItem)
        return;
    auto* menu = new QMenu;
    const QPoint globalPos = m_deviceTree->mapToGlobal(pos);
    if (kind == DeviceTreeWidget::DeviceItem)
        emit customDeviceContextMenuRequested(menu, globalPos);
    else
        emit customRootContextMenuRequested(menu, globalPos);
}

void DeviceTreeWindow::onCameraChanged(Camera* camera)
{
    // A camera knows its device from its creation on, open or not; a removed one is gone.
    if (camera && !camera->removed())
        m_deviceTree->selectByInfo(camera->deviceInfo());
    else
        m_deviceTree->selectByName(QString(), false);
}

void DeviceTreeWindow::onDeviceDetected(const Tarpo::CDeviceInfo* info)
{
    const QString name = formatDeviceName(*info);
    TarpoViewer::postLogMessage(TarpoViewer::InformationHigh, name,
                                QString("\"%1\" has been detected.").arg(name));
}

void DeviceTreeWindow::onDeviceRemoved(const Tarpo::CDeviceInfo* info, bool regualarRemoval)
{
    const QString name = formatDeviceName(*info);
    if (regualarRemoval)
        TarpoViewer::postLogMessage(TarpoViewer::InformationHigh, name,
                                    QString("\"%1\" has been removed.").arg(name));
    else
        TarpoViewer::postLogMessage(TarpoViewer::Warning, name,
                                    QString("\"%1\" has been disconnected.").arg(name));
}

void DeviceTreeWindow::refresh()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_deviceTree->refresh(true);
    QApplication::restoreOverrideCursor();
}

void DeviceTreeWindow::setAutoScanEnabled(bool enabled)
{
    m_deviceTree->setAutoScanEnabled(enabled);
}

void DeviceTreeWindow::setTooltipLevel(unsigned int level)
{
    if (m_deviceTree->tooltipLevel() == level)
        return;
    m_deviceTree->setTooltipLevel(level);
    m_deviceTree->updateAllToolTips();
}

void DeviceTreeWindow::selectDevice(const Tarpo::CDeviceInfo* info)
{
    if (!info)
        return;
    TARPO_TRACE(kCategory, "selecting '%s'", info->GetFullName().c_str());
    m_deviceTree->selectByInfo(*info);
}

void DeviceTreeWindow::addDevice(const Tarpo::CDeviceInfo& info)
{
    m_deviceTree->refresh(true);
    m_deviceTree->selectByNameAsync(QString::fromStdString(info.GetFullName()), false);
}

void DeviceTreeWindow::selectByNameAsync(const QString& name, bool requestOpen)
{
    m_deviceTree->selectByNameAsync(name, requestOpen);
}

int DeviceTreeWindow::selectedDevices(Tarpo::DeviceInfoList* devices)
{
    return m_deviceTree->selectedDevices(devices);
}
