#pragma once

// The "Features" dock: one feature tree per opened camera, the one of the camera selected in
// the device tree shown, a note when none is. Hands the tree's selection and texts on to the
// properties and documentation docks, and applies the user level, polling and favorites to
// every tree. The trees share one saved column layout.
// Thread: GUI only, except onNotifyCameraShutDown(), which runs where the device is shut down.

#include "genapi/interfaces.h"
#include "genapi/types.h"
#include "qtwidgets/treewindowbase.h"
#include "qtwidgets/userlevel.h"

#include <QString>

#include <map>

class Camera;
class FeatureTreeWidget;
class QLabel;

namespace GenApi {
class INode;
class INodeMap;
} // namespace GenApi

class FeatureTreeWindow : public TreeWindowBase
{
    Q_OBJECT

public:
    static constexpr int kStateVersion = 13;

    explicit FeatureTreeWindow(const QString& title, QWidget* parent = nullptr,
                               Qt::WindowFlags flags = Qt::WindowFlags());
    ~FeatureTreeWindow() override;

    TreeWidgetBase* currentTreeWidget() const override;
    FeatureTreeWidget* currentTree() const { return m_currentTree; }
    FeatureTreeWidget* treeOf(Camera* camera) const;
    QLabel* placeholder() const { return m_placeholder; }
    QSize sizeHint() const override { return QSize(350, 10000); }

    void setPolling(bool polling);
    void setViewAllFavorites(bool viewAll);
    void enableGenICamCallbacks(bool enable);
    bool refresh();

    static GenApi::EVisibility userLevel2Visibility(TarpoViewer::EUserLevel level);

signals:
    void visibilityChanged(GenApi::EVisibility visibility);
    void pollingStateChanged(bool pollingState);
    void viewAllFavoritesStateChanged(bool ViewAllFavoritesState);
    void CurrentChanged(GenApi::INode* pCurrentNode);
    void NewText(QString text);
    void filterMatchesChanged(int count, int invisibleCount);

public slots:
    void setCamera(Camera* camera);
    void removeCamera(Camera* camera);
    void addNodemap(Camera* camera, GenApi::INodeMap* nodeMap, QString displayName,
                    QString roleName);
    void setUserLevel(TarpoViewer::EUserLevel level);
    void copyToClipboard();
    void onCurrentChanged(GenApi::INode* node);
    void onNewText(QString text);
    void onNotifyCameraShutDown(Camera* pCamera);
    void onPollingStateChanged(bool bNewState);
    void onViewAllFavoritesStateChanged(bool bNewState);

private:
    FeatureTreeWidget* createTree(Camera* camera);
    void showPlaceholder();

    bool m_polling = false;
    bool m_viewAllFavorites = true;
    FeatureTreeWidget* m_currentTree = nullptr;
    Camera* m_currentCamera = nullptr;
    TarpoViewer::EUserLevel m_userLevel = TarpoViewer::UserLevel_Beginner;
    std::map<Camera*, FeatureTreeWidget*> m_trees; // children of this dock, deleted on close
    QLabel* m_placeholder;
};
