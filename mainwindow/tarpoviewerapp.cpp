#include "mainwindow/tarpoviewerapp.h"

#include "acquisition/camera.h"
#include "app/core/contextmanager.h"
#include "app/core/devicecontext.h"
#include "display/imagewindow.h"
#include "features/docwindow.h"
#include "features/featuretreewindow.h"
#include "features/propertieswindow.h"
#include "genapi/nodemapref.h"
#include "mainwindow/devicetreewindow.h"
#include "mainwindow/logwindow.h"
#include "messagelog/messagelog.h"
#include "qtbase/helpsupport.h"
#include "qtbase/messages.h"
#include "qtbase/widgetgeometry.h"
#include "qtwidgets/aboutdialog.h"
#include "qtwidgets/devicetreewidget.h"
#include "qtwidgets/featuretreewidget.h"
#include "qtwidgets/nodedebugmode.h"
#include "settings/optionsdialog.h"
#include "tarpo/featurepersistence.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"
#include "tarpo/transportlayer.h"
#include "tools/fileaccessdialog.h"
#include "tools/unicastcreatedialog.h"
#include "trace/trace.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QDateTime>
#include <QDesktopWidget>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QHeaderView>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QTableWidget>
#include <QtConcurrent>

namespace {

const char* const kCategory = "TarpoViewerApp";
const char* const kSource = "Tarpo Viewer";
const char* const kMainWindowGroup = "MainWindow";
const char* const kImageFilters = "Bitmap (*.bmp);;Tiff (*.tiff);;jpg (*.jpg);;png (*.png)";
const char* const kDefaultImageFilter = "Bitmap (*.bmp)";
const char* const kSaveFeatureFilters = "Tarpo Feature Stream (*.tfs);;All Files (*)";
// The lower-case "files" is the load dialog's own.
const char* const kLoadFeatureFilters = "Tarpo Feature Stream (*.tfs);;All files (*)";
const char* const kDefaultFeaturePointSize = "fontSize";
const int kDefaultFontPointSize = 8;

TarpoViewer::LogLevel logLevelOf(AsyncErrorQueue::ErrorSeverity severity)
{
    switch (severity) {
    case AsyncErrorQueue::Fatal:
        return TarpoViewer::Critical;
    case AsyncErrorQueue::Error:
        return TarpoViewer::Error;
    case AsyncErrorQueue::Warning:
        return TarpoViewer::Warning;
    case AsyncErrorQueue::Information:
        return TarpoViewer::Information;
    case AsyncErrorQueue::Verbose:
        return TarpoViewer::Debug;
    }
    return TarpoViewer::Error;
}

QMessageBox::Icon iconOf(AsyncErrorQueue::ErrorSeverity severity)
{
    switch (severity) {
    case AsyncErrorQueue::Fatal:
    case AsyncErrorQueue::Error:
        return QMessageBox::Critical;
    case AsyncErrorQueue::Warning:
        return QMessageBox::Warning;
    default:
        return QMessageBox::Information;
    }
}

template <typename Dock>
Dock* placeDock(Dock* dock, const char* objectName, Qt::DockWidgetAreas allowed)
{
    dock->setObjectName(objectName);
    dock->setAllowedAreas(allowed);
    return dock;
}

} // namespace

TarpoViewerApp::TarpoViewerApp(QWidget* parent, Qt::WindowFlags flags) : QMainWindow(parent, flags)
{
    qRegisterMetaType<ERecordingState>("ERecordingState");
    parseCommandLine(QCoreApplication::arguments(), &m_multicastMonitorMode,
                     &m_preselectedDeviceName);
    m_ui.setupUi(this);
    // Two keys start a recording: F10 and Ctrl+R.
    m_ui.actionRecord->setShortcuts({QKeySequence(Qt::Key_F10), QKeySequence("Ctrl+R")});
    m_mdiArea = new QMdiArea(this);
    m_mdiArea->setObjectName("mdiArea");
    setCentralWidget(m_mdiArea);
    if (GetHelpFilePath().isEmpty()) {
        m_ui.menuHelp->removeAction(m_ui.actionViewHelp);
        m_ui.actionViewHelp->setEnabled(false);
        qDebug("View Help removed");
    }
    // any thread -> GUI thread, queued: errors are shown where the windows live
    connect(&AsyncErrorQueue::instance(), &AsyncErrorQueue::displayError, this,
            &TarpoViewerApp::onDisplayError, Qt::QueuedConnection);
    m_contextManager = new ContextManager(m_mdiArea, this);
    m_contextManager->setMonitorMode(m_multicastMonitorMode);
    createDocks();
    createHiddenActions();
    makeConnections();
    readSettings();
    updateActions();
    if (!m_preselectedDeviceName.isEmpty())
        m_deviceTreeWindow->selectByNameAsync(m_preselectedDeviceName, false);
    QCoreApplication::postEvent(this, new QEvent(kDeferredInitEvent));
    TarpoViewer::postLogMessage(TarpoViewer::Information, kSource,
                                QString("%1 has been started.").arg(productTitle()));
}

TarpoViewerApp::~TarpoViewerApp()
{
    // Children go in order of birth, and what they signal on the way must not reach this
    // half-destroyed window: the devices close first, while the docks are still there.
    m_contextManager->disconnect(this);
    m_deviceTreeWindow->disconnect(this);
    m_deviceTreeWindow->deviceTree()->disconnect(this);
    m_mdiArea->disconnect(this);
    delete m_contextManager;
}

QString TarpoViewerApp::productTitle() const
{
    return QString("%1 %2 64-Bit")
        .arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion());
}

void TarpoViewerApp::parseCommandLine(const QStringList& arguments, bool* monitorMode,
                                      QString* preselectedDeviceName)
{
    for (int i = 1; i < arguments.size(); ++i) {
        const QString argument = arguments.at(i).trimmed();
        if (argument == "-m" || argument == "/m")
            *monitorMode = true;
        else if ((argument == "-p" || argument == "/p") && i + 1 < arguments.size())
            *preselectedDeviceName = arguments.at(++i).trimmed();
    }
}

void TarpoViewerApp::createDocks()
{
    const Qt::DockWidgetAreas sides = Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea;
    m_featureTreeWindow =
        placeDock(new FeatureTreeWindow("Features", this), "FeatureTreeView", sides);
    m_deviceTreeWindow =
        placeDock(new DeviceTreeWindow(m_multicastMonitorMode, this), "DeviceTreeView", sides);
    m_deviceTreeWindow->setWindowTitle("Devices");
    m_docWindow = placeDock(new DocWindow("Feature Documentation", this), "FeatureDocWindow",
                            Qt::AllDockWidgetAreas);
    m_logWindow = placeDock(new LogWindow("Message Log", this), "FeatureLogWindow",
                            Qt::TopDockWidgetArea | Qt::BottomDockWidgetArea);
    m_propertiesWindow = placeDock(new PropertiesWindow("Feature Properties", this),
                                   "FeaturePropertiesWindow", sides);

    addDockWidget(Qt::LeftDockWidgetArea, m_deviceTreeWindow);
    addDockWidget(Qt::LeftDockWidgetArea, m_featureTreeWindow);
    addDockWidget(Qt::BottomDockWidgetArea, m_docWindow);
    addDockWidget(Qt::BottomDockWidgetArea, m_logWindow);
    tabifyDockWidget(m_docWindow, m_logWindow);
    m_logWindow->raise();
    addDockWidget(Qt::RightDockWidgetArea, m_propertiesWindow);
    resizeDocks({m_deviceTreeWindow, m_propertiesWindow}, {340, 260}, Qt::Horizontal);
    resizeDocks({m_deviceTreeWindow, m_featureTreeWindow}, {150, 450}, Qt::Vertical);
    resizeDocks({m_logWindow}, {160}, Qt::Vertical);
    for (QDockWidget* dock : std::initializer_list<QDockWidget*>{
             m_deviceTreeWindow, m_featureTreeWindow, m_propertiesWindow, m_docWindow, m_logWindow})
        m_ui.menuView->addAction(dock->toggleViewAction());
}

void TarpoViewerApp::createHiddenActions()
{
    m_actionClearCache = new QAction("Clear Cache", this);
    m_actionClearCache->setObjectName("actionClearCache");
    m_actionClearCache->setShortcut(QKeySequence("Alt+Shift+Ctrl+L"));
    connect(m_actionClearCache, &QAction::triggered, this, &TarpoViewerApp::ClearCache_triggered);
    addAction(m_actionClearCache);

    m_actionSpeedTestGrab = new QAction("Speed Test", this);
    m_actionSpeedTestGrab->setObjectName("actionSpeedTestGrab");
    m_actionSpeedTestGrab->setShortcut(QKeySequence("Alt+Shift+Ctrl+F7"));
    connect(m_actionSpeedTestGrab, &QAction::triggered, this,
            &TarpoViewerApp::SpeedTestGrab_triggered);
    addAction(m_actionSpeedTestGrab);
}

void TarpoViewerApp::makeConnections()
{
    ContextManager* manager = m_contextManager;
    DeviceTreeWidget* deviceTree = m_deviceTreeWindow->deviceTree();

    connect(m_ui.actionOneShot, &QAction::triggered, manager, &ContextManager::startOneShot);
    connect(m_ui.actionStopGrab, &QAction::triggered, manager, &ContextManager::stopGrab);
    connect(m_ui.actionOpenCamera, &QAction::triggered, manager, &ContextManager::openActiveDevice);
    connect(m_ui.actionCloseCamera, &QAction::triggered, manager,
            &ContextManager::closeActiveDevice);
    connect(m_ui.actionZoomIn, &QAction::triggered, manager, &ContextManager::zoomIn);
    connect(m_ui.actionZoomOut, &QAction::triggered, manager, &ContextManager::zoomOut);
    connect(m_ui.actionZoomToFit, &QAction::triggered, manager, &ContextManager::zoomToFit);
    connect(m_ui.actionZoom100, &QAction::triggered, manager, &ContextManager::zoom100);
    connect(m_ui.actionContinuousShot, &QAction::triggered, this,
            &TarpoViewerApp::ContinousGrab_triggered);
    connect(m_ui.actionRecord, &QAction::triggered, this, &TarpoViewerApp::Record_triggered);
    connect(m_ui.actionRecordPause, &QAction::triggered, this,
            &TarpoViewerApp::RecordPause_triggered);
    connect(m_ui.actionExit, &QAction::triggered, this, &QWidget::close);
    connect(m_ui.actionClearMessageLog, &QAction::triggered, m_logWindow, &LogWindow::onClearAll);
    connect(m_ui.actionOpenBandwidthAnalyzer, &QAction::triggered, this,
            &TarpoViewerApp::onActionBandwidthDialog_triggered);
    connect(m_ui.actionOptimizeCameraSettings, &QAction::triggered, this,
            &TarpoViewerApp::onActionOptimizeCameraParameters_triggered);

    for (auto signal : {&ContextManager::zoomChanged, &ContextManager::recordingStateChanged,
                        &ContextManager::cameraStateChanged})
        connect(manager, signal, this, &TarpoViewerApp::updateActions);
    connect(manager, &ContextManager::cameraChanged, this, &TarpoViewerApp::updateActions);
    connect(manager, &ContextManager::surpriseRemoved, deviceTree,
            &DeviceTreeWidget::onSurpriseRemoved, Qt::QueuedConnection);
    connect(manager, &ContextManager::deviceOpened, deviceTree, &DeviceTreeWidget::onOpenDevice);
    connect(manager, &ContextManager::deviceClosed, deviceTree, &DeviceTreeWidget::onCloseDevice);
    connect(manager, &ContextManager::cameraChanged, m_deviceTreeWindow,
            &DeviceTreeWindow::onCameraChanged, Qt::QueuedConnection);

    connect(deviceTree, &DeviceTreeWidget::currentDeviceChanged, manager,
            &ContextManager::changeCurrentDevice);
    connect(deviceTree, &DeviceTreeWidget::deviceOpenRequest, manager,
            &ContextManager::openActiveDevice);
    connect(deviceTree, &DeviceTreeWidget::deviceRemoved, manager, &ContextManager::removeDevice);
    connect(deviceTree, &DeviceTreeWidget::deviceClose, manager, &ContextManager::closeDevice);
    connect(deviceTree, &DeviceTreeWidget::itemSelectionChanged, this,
            &TarpoViewerApp::updateActions);
    connect(m_deviceTreeWindow, &DeviceTreeWindow::customDeviceContextMenuRequested, this,
            &TarpoViewerApp::onShowDeviceContextMenu);
    connect(m_deviceTreeWindow, &DeviceTreeWindow::customRootContextMenuRequested, this,
            &TarpoViewerApp::onShowRootContextMenu);

    FeatureTreeWindow* features = m_featureTreeWindow;
    connect(features, &FeatureTreeWindow::CurrentChanged, m_docWindow,
            &DocWindow::onCurrentChanged);
    connect(features, &FeatureTreeWindow::NewText, m_docWindow, &DocWindow::onNewText);
    // Queued, so the properties read the node after the tree has done its own work; a node
    // that is no longer the tree's current one (its camera closed meanwhile) is not shown.
    connect(
        features, &FeatureTreeWindow::CurrentChanged, this,
        [this](GenApi::INode* node) {
            FeatureTreeWidget* tree = m_featureTreeWindow->currentTree();
            if (!node || (tree && tree->GetCurrentNode() == node))
                m_propertiesWindow->onCurrentChanged(node);
        },
        Qt::QueuedConnection);
    connect(features, &FeatureTreeWindow::visibilityChanged, m_propertiesWindow,
            &PropertiesWindow::onVisibilityChanged);
    connect(manager, &ContextManager::cameraChanged, features, &FeatureTreeWindow::setCamera);
    connect(manager, &ContextManager::nodemapAvailable, features, &FeatureTreeWindow::addNodemap);
    connect(manager, &ContextManager::cameraRemoved, features, &FeatureTreeWindow::removeCamera);
    // Where the device is shut down, before it goes: the views drop their nodes.
    connect(manager, &ContextManager::notifyDeviceShutDown, features,
            &FeatureTreeWindow::onNotifyCameraShutDown, Qt::DirectConnection);
    connect(
        manager, &ContextManager::notifyDeviceShutDown, m_propertiesWindow,
        [this] { m_propertiesWindow->onCurrentChanged(nullptr); }, Qt::DirectConnection);
    connect(features, &FeatureTreeWindow::visibilityChanged, this, &TarpoViewerApp::setVisibility);
    connect(features, &FeatureTreeWindow::pollingStateChanged, this,
            &TarpoViewerApp::onPollingChanged);
    connect(features, &FeatureTreeWindow::viewAllFavoritesStateChanged, this,
            &TarpoViewerApp::onViewAllFavoritesChanged);
    connect(features, &FeatureTreeWindow::filterMatchesChanged, this,
            &TarpoViewerApp::onFilterMatchesChanged);

    connect(m_mdiArea, &QMdiArea::subWindowActivated, this, &TarpoViewerApp::updateActions);
    connect(m_mdiArea, &QMdiArea::subWindowActivated, this, &TarpoViewerApp::OnMDIWindowActivated);
}

// ---- settings ---------------------------------------------------------------------------------

void TarpoViewerApp::readSettings()
{
    QSettings settings;
    settings.beginGroup(kMainWindowGroup);
    const int systemPointSize = QApplication::font().pointSize();
    const int pointSize = settings.value(kDefaultFeaturePointSize, kDefaultFontPointSize).toInt();
    qDebug("Default system-dependent font PointSize=%d, default tarpo PointSize=%d, current "
           "PointSize=%d",
           systemPointSize, kDefaultFontPointSize, pointSize);
    onFontSizeChanged(pointSize);
    setUserLevel(TarpoViewer::EUserLevel(settings.value("userLevel", 0).toInt()));
    setPollingState(settings.value("activateFeaturePolling", true).toBool());
    setViewAllFavoritesState(settings.value("activateFeatureViewAllFavorites", true).toBool());
    m_deviceTreeWindow->setTooltipLevel(settings.value("tooltipLevel", 0u).toUInt());
    m_deviceTreeWindow->setAutoScanEnabled(settings.value("autoScan", true).toBool());

    const QRect available = QGuiApplication::primaryScreen()
                                ? QGuiApplication::primaryScreen()->availableGeometry()
                                : QRect(0, 0, 1024, 768);
    move(settings.value("pos", available.topLeft()).toPoint());
    resize(
        settings.value("size", QSize(int(available.width() * 0.9), int(available.height() * 0.9)))
            .toSize());
    const QByteArray layout = settings.value("layout").toByteArray();
    if (!layout.isEmpty())
        restoreState(layout, kLayoutVersion);
    settings.endGroup();

    const QByteArray deviceTreeLayout = settings.value("DeviceTreeWindow/layout").toByteArray();
    if (!deviceTreeLayout.isEmpty())
        m_deviceTreeWindow->restoreTreeState(deviceTreeLayout, kLayoutVersion);
    restoreHeaderLayout(m_propertiesWindow->table()->horizontalHeader(), "PropertiesWindow");

    const QString workingDirectory = settings.value("Environment/workingDirectory").toString();
    m_workingDirectory = !workingDirectory.isEmpty() && QFileInfo(workingDirectory).isDir()
                             ? workingDirectory
                             : QDir::homePath();
    m_recordingOptions.load(settings);
}

void TarpoViewerApp::writeSettings()
{
    QSettings settings;
    settings.beginGroup(kMainWindowGroup);
    settings.setValue(kDefaultFeaturePointSize, QApplication::font().pointSize());
    settings.setValue("userLevel", m_userLevel);
    settings.setValue("activateFeaturePolling", m_polling);
    settings.setValue("activateFeatureViewAllFavorites", m_viewAllFavorites);
    settings.setValue("tooltipLevel", m_deviceTreeWindow->deviceTree()->tooltipLevel());
    settings.setValue("autoScan", m_deviceTreeWindow->deviceTree()->isAutoScanEnabled());
    settings.setValue("pos", pos());
    settings.setValue("size", size());
    settings.setValue("layout", saveState(kLayoutVersion));
    settings.endGroup();
    settings.setValue("DeviceTreeWindow/layout", m_deviceTreeWindow->saveTreeState(kLayoutVersion));
    settings.setValue("Environment/workingDirectory", m_workingDirectory);
    m_recordingOptions.save(settings);
}

// ---- enable rules -----------------------------------------------------------------------------

const Tarpo::CDeviceInfo*
TarpoViewerApp::firstSelectedDevice(Tarpo::DeviceInfoList& selection) const
{
    selection.clear();
    m_deviceTreeWindow->selectedDevices(&selection);
    return selection.empty() ? nullptr : &selection.front();
}

bool TarpoViewerApp::gigeTransportLayerAvailable()
{
    if (m_gigeTransportLayer < 0) {
        Tarpo::CTlFactory& factory = Tarpo::CTlFactory::GetInstance();
        Tarpo::ITransportLayer* tl = factory.CreateTl("MorvexGigE");
        m_gigeTransportLayer = tl ? 1 : 0;
        if (tl)
            factory.ReleaseTl(tl);
    }
    return m_gigeTransportLayer == 1;
}

void TarpoViewerApp::updateActions()
{
    ContextManager* manager = m_contextManager;
    Tarpo::DeviceInfoList selection;
    const Tarpo::CDeviceInfo* info = firstSelectedDevice(selection);
    const bool selected = info != nullptr;
    const bool open = selected && manager->isDeviceOpen(info);
    const bool grabbing = selected && manager->isGrabbing(info);
    const bool canGrab = selected && manager->canGrab(info);

    m_ui.actionContinuousShot->setEnabled(open && canGrab && !grabbing);
    m_actionSpeedTestGrab->setEnabled(m_ui.actionContinuousShot->isEnabled());
    m_ui.actionOpenCamera->setEnabled(selected && !open);
    m_ui.actionCloseCamera->setEnabled(selected && !m_ui.actionOpenCamera->isEnabled());
    m_ui.actionOneShot->setEnabled(open && canGrab && manager->canSingleShot(info) && !grabbing);
    m_ui.actionStopGrab->setEnabled(grabbing);
    m_ui.actionLoad_Parameter->setEnabled(open && !grabbing);
    m_ui.actionSave_Parameter->setEnabled(open && !grabbing);
    m_ui.actionRecord->setEnabled(selected && manager->canRecord(info) &&
                                  !manager->isRecordingActive(info));
    m_ui.actionRecordPause->setEnabled(selected && manager->isRecordingActive(info));
    m_ui.actionRecordPause->setChecked(selected && manager->isRecordingPaused(info));
    m_ui.actionOptimizeCameraSettings->setEnabled(manager->isDeviceOpen() &&
                                                  manager->canOptimizeCamera());

    ImageWindow* window = manager->activeImageWindow();
    m_ui.actionSaveImage->setEnabled(window && window->hasValidImage());
    m_ui.actionZoomIn->setEnabled(manager->canZoomIn());
    m_ui.actionZoomOut->setEnabled(manager->canZoomOut());
    m_ui.actionZoomToFit->setEnabled(manager->isZoomToFit());
    m_ui.actionZoom100->setEnabled(manager->isZoom100());

    // The tools whose windows are not part of this build stay in the menus, disabled.
    m_ui.actionFile_Access->setEnabled(open && !grabbing && manager->canAccessFiles(info));
    m_ui.actionOpenBandwidthAnalyzer->setEnabled(false);
    m_ui.actionCopyCameraParamters->setEnabled(!isNodeDebugModeEnabled() && m_featureTreeWindow &&
                                               open);
    m_ui.actionRemote_GigE_Camera->setEnabled(gigeTransportLayerAvailable());
}

// ---- device commands --------------------------------------------------------------------------

void TarpoViewerApp::ContinousGrab_triggered()
{
    m_contextManager->startContinuousShot(false);
}

void TarpoViewerApp::SpeedTestGrab_triggered()
{
    m_contextManager->startContinuousShot(true);
}

void TarpoViewerApp::Record_triggered()
{
    if (m_recordingOptions.ShowOptionsOnRecordStart) {
        OptionsDialog dialog(this, OptionsDialog::RecordStartMode);
        primeOptionsDialog(dialog);
        if (dialog.exec() != QDialog::Accepted)
            return;
    }
    m_contextManager->startRecording(&m_recordingOptions);
}

void TarpoViewerApp::RecordPause_triggered()
{
    m_contextManager->pauseRecording();
    updateActions();
}

void TarpoViewerApp::RecordStop_triggered()
{
    m_contextManager->stopRecording();
}

void TarpoViewerApp::onActionOptimizeCameraParameters_triggered()
{
    m_contextManager->optimizeCamera();
}

void TarpoViewerApp::onActionBandwidthDialog_triggered() {}

void TarpoViewerApp::ClearCache_triggered()
{
    GenApi::CNodeMapFactory::ClearCache();
    QApplication::beep();
}

void TarpoViewerApp::onShowDeviceContextMenu(QMenu* menu, const QPoint& pos)
{
    std::unique_ptr<QMenu> owned(menu);
    updateActions();
    menu->addAction(m_ui.actionOpenCamera);
    menu->addAction(m_ui.actionCloseCamera);
    menu->addSeparator();
    menu->addAction(m_ui.actionOneShot);
    menu->addAction(m_ui.actionContinuousShot);
    menu->addAction(m_ui.actionStopGrab);
    menu->addSeparator();
    menu->addAction(m_ui.actionOpenBandwidthAnalyzer);
    if (m_ui.actionOpenCamera->isEnabled())
        menu->setDefaultAction(m_ui.actionOpenCamera);
    menu->exec(pos);
}

void TarpoViewerApp::onShowRootContextMenu(QMenu* menu, const QPoint& pos)
{
    std::unique_ptr<QMenu> owned(menu);
    menu->addAction(m_ui.actionOpenBandwidthAnalyzer);
    menu->exec(pos);
}

void TarpoViewerApp::OnMDIWindowActivated(QMdiSubWindow* subWindow)
{
    if (!subWindow)
        return;
    auto* window = qobject_cast<ImageWindow*>(subWindow->widget());
    Camera* camera = window ? m_contextManager->cameraOfImageWindow(window) : nullptr;
    if (camera && camera->device())
        m_deviceTreeWindow->selectDevice(&camera->deviceInfo());
}

// ---- user level, polling, favorites, font -----------------------------------------------------

void TarpoViewerApp::setUserLevel(TarpoViewer::EUserLevel level)
{
    const TarpoViewer::EUserLevel effective = TarpoViewer::effectiveUserLevel(level);
    m_userLevel = unsigned(effective);
    TarpoViewer::setCurrentUserLevel(effective);
    m_featureTreeWindow->setUserLevel(effective);
    m_propertiesWindow->onVisibilityChanged(TarpoViewer::visibilityOf(effective));
}

void TarpoViewerApp::setVisibility(GenApi::EVisibility visibility)
{
    setUserLevel(TarpoViewer::userLevelOf(visibility));
}

void TarpoViewerApp::setPollingState(bool pollingstate)
{
    m_polling = pollingstate;
    m_featureTreeWindow->setPolling(pollingstate);
}

void TarpoViewerApp::setViewAllFavoritesState(bool viewAllFavoritesstate)
{
    m_viewAllFavorites = viewAllFavoritesstate;
    TarpoViewer::setViewAllFavorites(viewAllFavoritesstate);
    m_featureTreeWindow->setViewAllFavorites(viewAllFavoritesstate);
}

void TarpoViewerApp::onFontSizeChanged(int pointSize)
{
    if (pointSize < 1)
        return;
    QFont font = QApplication::font();
    font.setPointSize(pointSize);
    QApplication::setFont(font);
}

void TarpoViewerApp::onPollingChanged(bool polling)
{
    setPollingState(polling);
}

void TarpoViewerApp::onViewAllFavoritesChanged(bool viewAllFavorites)
{
    setViewAllFavoritesState(viewAllFavorites);
}

void TarpoViewerApp::onFilterMatchesChanged(int count, int invisibleCount)
{
    if (count < 1 && invisibleCount < 1)
        statusBar()->clearMessage();
    else
        statusBar()->showMessage(QString("%1 search results found (%2 of them visible at higher "
                                         "user level)")
                                     .arg(count)
                                     .arg(invisibleCount));
}

// ---- errors -----------------------------------------------------------------------------------

void TarpoViewerApp::onDisplayError(AsyncErrorQueue::ErrorSeverity severity, QString message,
                                    QString details, QWidget* parent)
{
    TarpoViewer::postLogMessage(logLevelOf(severity), kSource,
                                details.isEmpty() ? message
                                                  : QString("%1 (%2)").arg(message, details));
    QMessageBox box(iconOf(severity), windowTitle(), message, QMessageBox::Close,
                    parent ? parent : m_mdiArea);
    box.setWindowModality(Qt::ApplicationModal);
    if (!details.isEmpty())
        box.setDetailedText(details);
    box.setDefaultButton(QMessageBox::Close);
    box.exec();
}

// ---- images and feature files -----------------------------------------------------------------

QString TarpoViewerApp::withFilterSuffix(const QString& fileName, const QString& selectedFilter)
{
    if (fileName.isEmpty() || !QFileInfo(fileName).suffix().isEmpty())
        return fileName;
    const QRegularExpressionMatch match =
        QRegularExpression("\\(\\*(\\.[^\\*]*)\\)").match(selectedFilter);
    return match.hasMatch() ? fileName + match.captured(1) : fileName;
}

QString TarpoViewerApp::askSaveFileName(const QString& title, const QString& proposal,
                                        const QString& filters, QString* selectedFilter)
{
    const QString chosen = QFileDialog::getSaveFileName(
        this, title, proposal, filters, selectedFilter, QFileDialog::DontConfirmOverwrite);
    if (chosen.isEmpty())
        return QString();
    const QString fileName = withFilterSuffix(chosen, selectedFilter ? *selectedFilter : QString());
    if (QFileInfo::exists(fileName) &&
        QMessageBox::question(this, "File exists",
                              QString("The file %1 already exists.\nDo you want to overwrite it?")
                                  .arg(QDir::toNativeSeparators(fileName)),
                              QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
        return QString();
    return fileName;
}

void TarpoViewerApp::on_actionSaveImage_triggered()
{
    m_contextManager->pauseUpdates();
    QSettings settings;
    settings.beginGroup(kMainWindowGroup);
    QString filter = settings.value("selectedFilter", kDefaultImageFilter).toString();
    const QString folder =
        settings
            .value("saveImageDir",
                   QStandardPaths::writableLocation(QStandardPaths::PicturesLocation))
            .toString();
    const QString proposal =
        folder + "/Image" + QDateTime::currentDateTime().toString("__yyyy-MM-dd__hh-mm-ss");
    const QString fileName = askSaveFileName("Save Image", proposal, kImageFilters, &filter);
    if (!fileName.isEmpty()) {
        if (saveImageTo(fileName))
            statusBar()->showMessage("Saved image.");
        settings.setValue("saveImageDir", QFileInfo(fileName).absolutePath());
        settings.setValue("selectedFilter", filter);
    }
    m_contextManager->unpauseUpdates();
}

bool TarpoViewerApp::saveImageTo(const QString& fileName)
{
    ImageWindow* window = m_contextManager->activeImageWindow();
    if (!window || !window->hasValidImage()) {
        m_contextManager->saveCurrentContextImage(fileName);
        return false;
    }
    window->saveImage(fileName);
    return QFileInfo::exists(fileName);
}

void TarpoViewerApp::on_actionSave_Parameter_triggered()
{
    DeviceContext* context = m_contextManager->currentContext();
    if (!context || !context->camera() || !context->camera()->device())
        return;
    const Tarpo::CDeviceInfo& info = context->camera()->deviceInfo();
    QString filter;
    const QString proposal = m_workingDirectory + "/" +
                             QString::fromStdString(info.GetModelName()) + "_" +
                             QString::fromStdString(info.GetSerialNumber()) + ".tfs";
    const QString fileName =
        askSaveFileName("Save File As", proposal, kSaveFeatureFilters, &filter);
    if (fileName.isEmpty())
        return;
    m_workingDirectory = QFileInfo(fileName).absolutePath();
    saveFeatures(fileName);
}

void TarpoViewerApp::on_actionLoad_Parameter_triggered()
{
    const QString fileName =
        QFileDialog::getOpenFileName(this, "Load File", m_workingDirectory, kLoadFeatureFilters);
    if (fileName.isEmpty())
        return;
    m_workingDirectory = QFileInfo(fileName).absolutePath();
    loadFeatures(fileName);
}

bool TarpoViewerApp::saveFeatures(const QString& fileName)
{
    DeviceContext* context = m_contextManager->currentContext();
    Tarpo::ITarpoDevice* device =
        context && context->camera() ? context->camera()->device() : nullptr;
    if (!device || !device->GetNodeMap())
        return false;
    try {
        Tarpo::CFeaturePersistence::Save(fileName.toStdString().c_str(), device->GetNodeMap());
        return true;
    } catch (const std::exception& e) {
        showCriticalMessage("TarpoViewerApp::on_actionSave_Parameter_triggered",
                            QString("Save camera feature file failed.\n") +
                                QString::fromUtf8(e.what()));
    }
    return false;
}

bool TarpoViewerApp::loadFeatures(const QString& fileName)
{
    DeviceContext* context = m_contextManager->currentContext();
    Tarpo::ITarpoDevice* device =
        context && context->camera() ? context->camera()->device() : nullptr;
    if (!device || !device->GetNodeMap())
        return false;
    bool loaded = false;
    // The tree follows afterwards in one refresh instead of one callback per feature.
    m_featureTreeWindow->enableGenICamCallbacks(false);
    try {
        Tarpo::CFeaturePersistence::Load(fileName.toStdString().c_str(), device->GetNodeMap(),
                                         true);
        loaded = true;
    } catch (const std::exception& e) {
        showCriticalMessage("TarpoViewerApp::on_actionLoad_Parameter_triggered",
                            QString("Load camera feature file failed.\n") +
                                QString::fromUtf8(e.what()));
    }
    m_featureTreeWindow->enableGenICamCallbacks(true);
    m_featureTreeWindow->refresh();
    updateActions();
    return loaded;
}

// ---- help, about, support ---------------------------------------------------------------------

void TarpoViewerApp::on_actionViewHelp_triggered()
{
    if (!ShowHelpFile())
        QApplication::beep();
}

void TarpoViewerApp::on_actionAbout_tarpo_Viewer_triggered()
{
    AboutDialog dialog(this);
    dialog.exec();
}

void TarpoViewerApp::on_actionFeedback_triggered()
{
    OpenFeedbackUrl();
}

void TarpoViewerApp::on_actionContact_Morvex_Support_triggered()
{
    const Tarpo::DeviceInfoList devices = m_deviceTreeWindow->deviceTree()->devices();
    if (ContactMorvexSupport(devices))
        return;
    QMessageBox box(QMessageBox::Information, "Contact Morvex Support",
                    "In order to contact Morvex support, you can copy the information (e-mail "
                    "address and tarpo information) to your clipboard.\n\nThe copied information "
                    "is visible via \"Show Details\".\n\nAfterwards you can send this information "
                    "to the indicated address (visible via \"Show Details\").",
                    QMessageBox::Close, this);
    const QString details = GetMorvexSupportInfo(devices);
    box.setDetailedText(details);
    QPushButton* copy = box.addButton("Copy to Clipboard", QMessageBox::ActionRole);
    box.exec();
    if (box.clickedButton() == copy) {
        QApplication::clipboard()->setText(details);
        QMessageBox::information(this, "Contact Morvex Support",
                                 "E-Mail information copied to clipboard successfully.");
    }
}

void TarpoViewerApp::primeOptionsDialog(OptionsDialog& dialog)
{
    dialog.setRecordingOptions(m_recordingOptions);
    dialog.setUserLevel(TarpoViewer::EUserLevel(m_userLevel));
    dialog.setAutoScan(m_deviceTreeWindow->deviceTree()->isAutoScanEnabled());
    dialog.setTooltipLevel(m_deviceTreeWindow->deviceTree()->tooltipLevel());
    dialog.setShowFailedBuffers(m_contextManager->showFailedBuffers());
    dialog.setFontSize(QApplication::font().pointSize());
    dialog.setPolling(m_polling);
    dialog.setViewAllFavorites(m_viewAllFavorites);
    connect(&dialog, &OptionsDialog::autoScanChanged, m_deviceTreeWindow,
            &DeviceTreeWindow::setAutoScanEnabled);
    connect(&dialog, &OptionsDialog::tooltipLevelChanged, m_deviceTreeWindow,
            &DeviceTreeWindow::setTooltipLevel);
    connect(&dialog, &OptionsDialog::userLevelChanged, this, &TarpoViewerApp::setUserLevel);
    connect(&dialog, &OptionsDialog::fontSizeChanged, this, &TarpoViewerApp::onFontSizeChanged);
    connect(&dialog, &OptionsDialog::pollingChanged, this, &TarpoViewerApp::onPollingChanged);
    connect(&dialog, &OptionsDialog::viewAllFavoritesChanged, this,
            &TarpoViewerApp::onViewAllFavoritesChanged);
    connect(&dialog, &OptionsDialog::recordingSettingsChanged, this,
            [this](const CRecordingOptions& options) {
                m_recordingOptions = options;
                QSettings settings;
                m_recordingOptions.save(settings);
            });
    connect(&dialog, &OptionsDialog::showFailedBuffersChanged, this, [this](bool show) {
        m_contextManager->setShowFailedBuffers(show);
        QSettings().setValue("Grab/ShowFailedBuffers", show);
    });
}

void TarpoViewerApp::on_actionOptions_triggered()
{
    OptionsDialog dialog(this, OptionsDialog::OptionsMode);
    primeOptionsDialog(dialog);
    dialog.exec();
}

void TarpoViewerApp::on_actionCopyCameraParamters_triggered()
{
    m_featureTreeWindow->copyToClipboard();
}

void TarpoViewerApp::on_actionFile_Access_triggered()
{
    DeviceContext* context = m_contextManager->currentContext();
    if (!context || !context->camera())
        return;
    FileAccessDialog dialog(this, context->camera());
    // Where the device is shut down, before it goes: the dialog stops touching it.
    connect(m_contextManager, &ContextManager::notifyDeviceShutDown, &dialog,
            &FileAccessDialog::onNotifyCameraShutDown, Qt::DirectConnection);
    dialog.exec();
}

void TarpoViewerApp::on_actionRemote_GigE_Camera_triggered()
{
    createCameraPerIp();
}

void TarpoViewerApp::createCameraPerIp()
{
    CUnicastCreateDialog dialog(this);
    restoreWidgetGeometry(&dialog, "UnicastDialog");
    QSettings settings;
    settings.beginGroup(kMainWindowGroup);
    dialog.setIpAddress(settings.value("recentIPAddr", "192.168.1.1").toString());
    const int result = dialog.exec();
    saveWidgetGeometry(&dialog, "UnicastDialog");
    if (result != QDialog::Accepted)
        return;
    const QString address = dialog.ipAddress();
    settings.setValue("recentIPAddr", address);
    const char* const source = "TarpoViewerApp::createCameraPerIp";
    Tarpo::CTlFactory& factory = Tarpo::CTlFactory::GetInstance();
    Tarpo::ITransportLayer* transportLayer = factory.CreateTl("MorvexGigE");
    auto* gigE = dynamic_cast<Tarpo::IGigETransportLayer*>(transportLayer);
    try {
        if (!gigE)
            throw RUNTIME_EXCEPTION("No GigE transport layer found.");
        Tarpo::CDeviceInfo info = gigE->CreateDeviceInfo();
        info.SetIpAddress(address.toLatin1().constData());
        // The camera has a second to answer: the window keeps painting meanwhile.
        QApplication::setOverrideCursor(Qt::WaitCursor);
        QFutureWatcher<bool> announcing;
        QEventLoop loop;
        connect(&announcing, &QFutureWatcher<bool>::finished, &loop, &QEventLoop::quit);
        const std::string ip = address.toStdString();
        announcing.setFuture(QtConcurrent::run(
            [gigE, ip, &info] { return gigE->AnnounceRemoteDevice(ip.c_str(), &info); }));
        loop.exec(QEventLoop::ExcludeUserInputEvents);
        QApplication::restoreOverrideCursor();
        if (announcing.result())
            m_deviceTreeWindow->addDevice(info);
        else
            showCriticalMessage(source, "Failed to find camera. Check the IP configuration.");
    } catch (const GenICam::GenericException& e) {
        showException(e, source, gigE ? "Failed to create the device." : e.GetDescription());
    } catch (const std::exception& e) {
        showException(e, source, "Failed to create the device.");
    }
    if (transportLayer)
        factory.ReleaseTl(transportLayer);
}

// ---- start and end ----------------------------------------------------------------------------

void TarpoViewerApp::customEvent(QEvent* event)
{
    if (event->type() != kDeferredInitEvent)
        return;
    showNewFeatureHint();
    checkCameraLinkConfiguration();
}

void TarpoViewerApp::showNewFeatureHint()
{
    QSettings settings;
    settings.beginGroup(kMainWindowGroup);
    if (settings.value("SkipFeatureSearchHint", false).toBool() ||
        settings.value("SkipAllHints", false).toBool())
        return;
    QMessageBox hint(QMessageBox::Information, "New Feature",
                     "<h3>Search</h3><p>The feature tree has a <b>Search</b> field: type part of "
                     "a feature's name, display name, tool tip or enumeration entry, and the tree "
                     "shows the matching features and how many the current user level hides.</p>",
                     QMessageBox::Ok, this);
    auto* skip = new QCheckBox("Don't show this hint again", &hint);
    hint.setCheckBox(skip);
    hint.exec();
    if (skip->isChecked())
        settings.setValue("SkipFeatureSearchHint", true);
}

void TarpoViewerApp::checkCameraLinkConfiguration()
{
    QSettings settings;
    if (settings.value("MainWindow/SkipCLConfiguratorCheck_x64", false).toBool())
        return;
    // Camera Link cameras need their ports chosen first; no Camera Link transport layer is
    // installed on this platform, so there is nothing to configure.
    Tarpo::TlInfoList_t transportLayers;
    Tarpo::CTlFactory::GetInstance().EnumerateTls(transportLayers);
    const bool cameraLink =
        std::any_of(transportLayers.begin(), transportLayers.end(), [](const Tarpo::CTlInfo& tl) {
            return tl.GetDeviceClass() == "MorvexCameraLink";
        });
    TARPO_TRACE(kCategory, "Camera Link transport layer %s", cameraLink ? "found" : "not found");
}

void TarpoViewerApp::closeEvent(QCloseEvent* event)
{
    TarpoViewer::postLogMessage(TarpoViewer::Information, kSource,
                                QString("%1 is shutting down.").arg(productTitle()));
    m_contextManager->shutDown();
    writeSettings();
    event->accept();
}
