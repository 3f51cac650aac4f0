#pragma once

// A camera's features: a search field with the user level, polling and "all favorites"
// switches over the feature tree. The tree reads only what it shows: values of the rows in view
// are read off the GUI thread and refreshed when the node maps report changes, or by polling
// while polling is on and the tree is visible. Features are edited in place; a refused value is
// logged with the device's message and the cell goes back to the device's value; what an edit
// changed elsewhere is highlighted for a moment.
// Thread: GUI only, except deviceIsClosed(), which may come from the thread that shuts the
// device down (it waits for the read under way and then drops every node).

#include "genapi/interfaces.h"
#include "genapi/types.h"
#include "qtwidgets/treewidgetbase.h"

#include <QElapsedTimer>
#include <QMetaType>
#include <QTimer>

class FeatureFilterModel;
class FeatureTreeModel;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QModelIndex;
class QTreeView;

namespace GenApi {
class INode;
class INodeMap;
} // namespace GenApi

class FeatureTreeWidget : public TreeWidgetBase
{
    Q_OBJECT

public:
    static constexpr int kPollIntervalMs = 250;

    FeatureTreeWidget(const QString& favoritesTitle, QWidget* parent,
                      GenApi::EVisibility visibility, bool nodeDebugMode);
    ~FeatureTreeWidget() override;

    QTreeView* treeView() const override { return m_view; }
    FeatureTreeModel* model() const { return m_model; }
    FeatureFilterModel* filterModel() const { return m_filter; }
    QLineEdit* searchField() const { return m_search; }

    void addNodeMap(GenApi::INodeMap* nodeMap, const QString& displayName, const QString& roleName,
                    bool utf8);
    void setVisibility(GenApi::EVisibility visibility);
    GenApi::EVisibility visibility() const;
    void setPolling(bool polling);
    bool polling() const { return m_polling; }
    void setViewAllFavorites(bool viewAll);
    // Drops every reference into the node maps before their device goes.
    void deviceIsClosed();
    // The features as text a person can paste into a report or a feature file.
    QString clipboardText();
    void copyToClipboard();
    GenApi::INode* GetCurrentNode() const;
    void EnableGenICamCallbacks(bool enable);
    void Refresh();
    // Writes the favorites to a file, one "Map/Feature" a line; reads them back.
    bool exportFavorites(const QString& fileName) const;
    bool importFavorites(const QString& fileName);

signals:
    void onCurrentChanged(GenApi::INode* node);
    void onNewText(QString text);
    void pollingStateChanged(bool polling);
    void viewAllFavoritesStateChanged(bool viewAll);
    void filterMatchesChanged(int count, int invisibleCount);
    void visibilityChanged(GenApi::EVisibility visibility);

public slots:
    void setMonitorMode(bool monitorMode);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void onSearchChanged(const QString& text);
    void onCurrentIndexChanged(const QModelIndex& current);
    void scheduleShownUpdate();
    void updateShownNodes();
    void onPollTimer();
    void showContextMenu(const QPoint& pos);

    FeatureTreeModel* m_model;
    FeatureFilterModel* m_filter;
    QTreeView* m_view;
    QLineEdit* m_search;
    QComboBox* m_visibility;
    QCheckBox* m_pollingBox;
    QCheckBox* m_favoritesBox;
    bool m_polling = false;
    bool m_built = false; // every category built (for the search)
    QTimer m_shownTimer;
    QTimer m_pollTimer;
    QElapsedTimer m_sincePoll;
};

Q_DECLARE_METATYPE(GenApi::INode*)
