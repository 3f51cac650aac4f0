#include "features/featuretreewindow.h"

#include "acquisition/camera.h"
#include "messagelog/messagelog.h"
#include "qtbase/devicename.h"
#include "qtwidgets/featuretreewidget.h"
#include "qtwidgets/nodedebugmode.h"
#include "tarpo/tarpodevice.h"
#include "trace/trace.h"

#include <QLabel>
#include <QSettings>

namespace {

const char* const kCategory = "FeatureTreeWindow";
const char* const kGroup = "FeatureTreeWindow";
const char* const kStateKey = "State";

} // namespace

FeatureTreeWindow::FeatureTreeWindow(const QString& title, QWidget* parent, Qt::WindowFlags flags)
    : TreeWindowBase(parent, flags), m_placeholder(new QLabel(this))
{
    setWindowTitle(title);
    m_placeholder->setTextFormat(Qt::RichText);
    m_placeholder->setText(
        "<i>Select any open camera in the Devices pane to display its features.</i>");
    m_placeholder->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_placeholder->setWordWrap(true);
    m_placeholder->setTextInteractionFlags(Qt::NoTextInteraction);
    m_placeholder->setFrameShape(QFrame::NoFrame);
    m_placeholder->setMargin(8);
    setWidget(m_placeholder);
    m_placeholder->show();
}

FeatureTreeWindow::~FeatureTreeWindow()
{
    TARPO_TRACE(kCategory, "FeatureTreeWindow::~FeatureTreeWindow()");
    m_trees.clear(); // the trees and the placeholder are children of the dock
}

TreeWidgetBase* FeatureTreeWindow::currentTreeWidget() const
{
    return m_currentTree;
}

FeatureTreeWidget* FeatureTreeWindow::treeOf(Camera* camera) const
{
    const auto it = m_trees.find(camera);
    return it == m_trees.end() ? nullptr : it->second;
}

GenApi::EVisibility FeatureTreeWindow::userLevel2Visibility(TarpoViewer::EUserLevel level)
{
    switch (level) {
    case TarpoViewer::UserLevel_Beginner:
        return GenApi::Beginner;
    case TarpoViewer::UserLevel_Expert:
        return GenApi::Expert;
    case TarpoViewer::UserLevel_Guru:
        return GenApi::Guru;
    case TarpoViewer::UserLevel_Debug:
        return GenApi::Invisible;
    }
    TarpoViewer::postLogMessage(
        TarpoViewer::Critical, "FeatureTreeWindow",
        QString("%1: Invalid user level").arg("FeatureTreeWindow::userLevel2Visibility"));
    return GenApi::_UndefinedVisibility;
}

FeatureTreeWidget* FeatureTreeWindow::createTree(Camera* camera)
{
    if (!camera)
        return nullptr;
    auto* tree = new FeatureTreeWidget("Favorites", this, userLevel2Visibility(m_userLevel),
                                       isNodeDebugModeEnabled());
    tree->setAttribute(Qt::WA_DeleteOnClose);
    tree->setPolling(m_polling);
    tree->setViewAllFavorites(m_viewAllFavorites);
    tree->setMonitorMode(camera->monitorMode());
    connect(tree, &FeatureTreeWidget::onCurrentChanged, this, &FeatureTreeWindow::onCurrentChanged);
    connect(tree, &FeatureTreeWidget::onNewText, this, &FeatureTreeWindow::onNewText);
    connect(tree, &FeatureTreeWidget::pollingStateChanged, this,
            &FeatureTreeWindow::onPollingStateChanged);
    connect(tree, &FeatureTreeWidget::viewAllFavoritesStateChanged, this,
            &FeatureTreeWindow::onViewAllFavoritesStateChanged);
    connect(tree, &FeatureTreeWidget::filterMatchesChanged, this,
            &FeatureTreeWindow::filterMatchesChanged);
    return tree;
}

void FeatureTreeWindow::showPlaceholder()
{
    m_currentCamera = nullptr;
    setWindowTitle("Features");
    if (widget() != m_placeholder)
        setWidget(m_placeholder);
    m_placeholder->show();
    emit CurrentChanged(nullptr);
}

void FeatureTreeWindow::setCamera(Camera* camera)
{
    TARPO_TRACE(kCategory,
                "FeatureTreeWindow::setCamera ( Camera* camera): entering with camera = %p...",
                static_cast<void*>(camera));
    if (camera == m_currentCamera && (camera == nullptr || m_currentTree)) {
        TARPO_TRACE(kCategory, "FeatureTreeWindow::setCamera ( Camera* camera): leaving");
        return;
    }
    if (m_currentTree) {
        QSettings settings;
        settings.beginGroup(kGroup);
        settings.setValue(kStateKey, saveTreeState(kStateVersion));
        m_currentTree->hide();
        m_currentTree = nullptr;
    }
    if (!camera || camera->state() < Camera::Open) {
        showPlaceholder();
        TARPO_TRACE(kCategory, "FeatureTreeWindow::setCamera ( Camera* camera): leaving");
        return;
    }
    m_currentCamera = camera;
    FeatureTreeWidget* tree = treeOf(camera);
    if (!tree) {
        tree = createTree(camera);
        m_trees[camera] = tree;
        connect(tree, &FeatureTreeWidget::visibilityChanged, this,
                &FeatureTreeWindow::visibilityChanged);
        connect(camera, &Camera::CameraMonitorModeChanged, tree,
                &FeatureTreeWidget::setMonitorMode);
    }
    m_currentTree = tree;
    setWidget(tree);
    QSettings settings;
    settings.beginGroup(kGroup);
    restoreTreeState(settings.value(kStateKey).toByteArray(), kStateVersion);
    m_placeholder->hide();
    tree->setVisibility(userLevel2Visibility(m_userLevel));
    tree->show();
    if (camera->device()) {
        const Tarpo::CDeviceInfo& info = camera->device()->GetDeviceInfo();
        setWindowTitle(
            QString("Features [%1]").arg(QString::fromUtf8(info.GetFriendlyName().c_str())));
    }
    emit CurrentChanged(tree->GetCurrentNode());
    TARPO_TRACE(kCategory, "FeatureTreeWindow::setCamera ( Camera* camera): leaving");
}

void FeatureTreeWindow::addNodemap(Camera* camera, GenApi::INodeMap* nodeMap, QString displayName,
                                   QString roleName)
{
    FeatureTreeWidget* tree = treeOf(camera);
    if (!tree) {
        TarpoViewer::postLogMessage(
            TarpoViewer::Warning, "FeatureTreeWindow",
            QString("%1: tried to add a nodemap for a camera that hasn't been added")
                .arg("FeatureTreeWindow::addNodemap"));
        return;
    }
    tree->addNodeMap(nodeMap, displayName, roleName, IsUtf8Device(&camera->deviceInfo()));
}

void FeatureTreeWindow::removeCamera(Camera* camera)
{
    TARPO_TRACE(kCategory,
                "FeatureTreeWindow::removeCamera ( Camera* camera): entering with camera = %p...",
                static_cast<void*>(camera));
    if (!camera)
        return;
    if (camera == m_currentCamera)
        setCamera(nullptr);
    const auto it = m_trees.find(camera);
    if (it != m_trees.end()) {
        it->second->deviceIsClosed();
        it->second->close();
        m_trees.erase(it);
    }
    TARPO_TRACE(kCategory, "FeatureTreeWindow::removeCamera ( Camera* camera): leaving");
}

void FeatureTreeWindow::onNotifyCameraShutDown(Camera* pCamera)
{
    if (FeatureTreeWidget* tree = treeOf(pCamera))
        tree->deviceIsClosed();
}

void FeatureTreeWindow::setUserLevel(TarpoViewer::EUserLevel level)
{
    m_userLevel = level;
    if (m_currentTree)
        m_currentTree->setVisibility(userLevel2Visibility(level));
}

void FeatureTreeWindow::copyToClipboard()
{
    if (m_currentTree)
        m_currentTree->copyToClipboard();
}

void FeatureTreeWindow::onCurrentChanged(GenApi::INode* node)
{
    emit CurrentChanged(node);
}

void FeatureTreeWindow::onNewText(QString text)
{
    emit NewText(text);
}

void FeatureTreeWindow::setPolling(bool polling)
{
    m_polling = polling;
    for (const auto& entry : m_trees)
        entry.second->setPolling(polling);
}

void FeatureTreeWindow::setViewAllFavorites(bool viewAll)
{
    m_viewAllFavorites = viewAll;
    for (const auto& entry : m_trees)
        entry.second->setViewAllFavorites(viewAll);
}

void FeatureTreeWindow::onPollingStateChanged(bool bNewState)
{
    setPolling(bNewState);
    emit pollingStateChanged(bNewState);
}

void FeatureTreeWindow::onViewAllFavoritesStateChanged(bool bNewState)
{
    setViewAllFavorites(bNewState);
    emit viewAllFavoritesStateChanged(bNewState);
}

void FeatureTreeWindow::enableGenICamCallbacks(bool enable)
{
    if (m_currentTree)
        m_currentTree->EnableGenICamCallbacks(enable);
}

bool FeatureTreeWindow::refresh()
{
    if (!m_currentTree)
        return false;
    m_currentTree->Refresh();
    return true;
}
