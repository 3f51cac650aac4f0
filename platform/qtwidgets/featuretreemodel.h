#pragma once

// The features of one camera as a tree: a branch per node map (the camera, its transport layer,
// its stream, ...) ordered by the map's root marker, categories as branches, features as
// leaves, and a "Favorites" branch on top. A category's children are built when it is first
// expanded; values and access modes are read by a FeatureValueReader off the GUI thread, only
// for the rows the view says are shown, and data() answers from what was read last. Changes the
// node maps report (callbacks) mark values stale; the next refresh rereads the shown ones and
// repaints are coalesced to about 15 a second. Rows are found from their node through a map.
// Thread: GUI only; node callbacks may run on any thread and only queue a refresh.

#include "genapi/interfaces.h"

#include <QAbstractItemModel>
#include <QColor>
#include <QElapsedTimer>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class FeatureValueReader;

class FeatureTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column
    {
        NameColumn,
        ValueColumn,
        ColumnCount
    };
    enum Kind
    {
        MapItem,
        CategoryItem,
        FeatureItem,
        FavoritesItem
    };
    enum Role
    {
        KindRole = Qt::UserRole + 1,
        VisibilityRole, // GenApi::EVisibility of the row's node
        SearchTextRole, // what the search looks in, lower case
        AccessModeRole, // GenApi::EAccessMode last read, or _UndefinedAccesMode
        InterfaceRole,  // GenApi::EInterfaceType
        FavoriteRole,   // the row is under "Favorites"
        HighlightRole,  // changed by the user's last edit
        NodeRole        // the row's GenApi::INode*, as quintptr
    };
    // How long the features an edit changed stay highlighted.
    static constexpr int kHighlightMs = 1500;
    // Repaints of changed values are gathered for this long.
    static constexpr int kRepaintIntervalMs = 66;

    FeatureTreeModel(const QString& favoritesTitle, QObject* parent = nullptr);
    ~FeatureTreeModel() override;

    void addNodeMap(GenApi::INodeMap* nodeMap, const QString& displayName, const QString& roleName,
                    bool utf8);
    // Drops every reference into the node maps: no read, callback or item is left that could
    // touch them once this returns.
    void deviceIsClosed();
    bool hasNodeMaps() const { return !m_maps.empty(); }
    // The favorites are kept per camera model.
    void setModelName(const QString& modelName);

    GenApi::INode* node(const QModelIndex& index) const;
    Kind kind(const QModelIndex& index) const;
    // The row of `node` under its category (not under Favorites), building categories on the
    // way; invalid when the node is not in the tree.
    QModelIndex indexOf(GenApi::INode* node);
    QString mapRoleOf(const QModelIndex& index) const;
    QString mapDisplayNameOf(const QModelIndex& index) const;
    bool utf8Of(const QModelIndex& index) const;
    // Builds every category's children (for a search or a copy of everything).
    void buildAll();

    // The nodes whose rows are shown now; their values are read when unknown or stale.
    void setShownNodes(const std::unordered_set<GenApi::INode*>& nodes);
    // Marks every value stale and rereads the shown ones.
    void refresh();
    void setCallbacksEnabled(bool enabled) { m_callbacksEnabled = enabled; }
    bool callbacksEnabled() const { return m_callbacksEnabled; }
    void setReadOnly(bool readOnly);
    bool isReadOnly() const { return m_readOnly; }
    // Runs the node maps' polling: callbacks of polled nodes that are due.
    void poll(int64_t elapsedMs);

    bool isFavorite(GenApi::INode* node) const;
    void setFavorite(const QModelIndex& index, bool favorite);
    // "Role/Name" of each favorite.
    QStringList favorites() const { return m_favorites; }
    void setFavorites(const QStringList& favorites);

    // Features matching `lowerQuery` (in name, display name, tool tip, description or
    // enumeration entries): all of them, and those the visibility `level` hides.
    std::pair<int, int> countMatches(const QString& lowerQuery, GenApi::EVisibility level) const;

    // Writes `text` (display form, or symbolic entry) into the node; false with `error` set when
    // the device refused it, and the row then shows the device's value again.
    bool writeValue(const QModelIndex& index, const QString& text, QString* error);
    bool executeCommand(const QModelIndex& index, QString* error);

    // Nodes read since construction.
    int readCount() const;
    // Waits (processing events) until no read is pending; for tests and measurements.
    bool waitForReads(int timeoutMs);
    bool valueKnown(GenApi::INode* node) const;

    // QAbstractItemModel
    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

signals:
    // A write the device refused: the feature's display name and the device's message.
    void writeRefused(const QString& feature, const QString& message);
    void favoritesChanged();

public slots:
    // The reader has results waiting.
    void takeValues();

private:
    struct Item;
    struct Map;
    struct NodeState;

    Item* item(const QModelIndex& index) const;
    QModelIndex indexFor(const Item* item, int column = NameColumn) const;
    void buildChildren(Item* item) const;
    std::unique_ptr<Item> makeItem(Kind kind, GenApi::INode* node, Item* parent, int map) const;
    NodeState& stateOf(GenApi::INode* node) const;
    void watch(GenApi::INode* node) const;
    // Node callback: any thread.
    void onNodeChanged(GenApi::INode* node);
    void processChanges();
    void flushRepaints();
    void requestRead(GenApi::INode* node);
    void rebuildFavorites();
    void loadFavorites();
    void saveFavorites() const;
    QString favoriteKey(const Item* item) const;

    QString m_favoritesTitle;
    std::unique_ptr<Item> m_root;
    Item* m_favoritesItem = nullptr;
    std::vector<std::unique_ptr<Map>> m_maps;
    mutable std::unordered_map<GenApi::INode*, std::unique_ptr<NodeState>> m_nodes;
    std::unordered_set<GenApi::INode*> m_shown;
    std::unique_ptr<FeatureValueReader> m_reader;
    QString m_modelName;
    QStringList m_favorites;
    bool m_callbacksEnabled = true;
    bool m_readOnly = false;

    std::mutex m_changedMutex; // guards m_changed and m_changesPosted: callbacks run anywhere
    std::unordered_set<GenApi::INode*> m_changed;
    bool m_changesPosted = false;

    QSet<GenApi::INode*> m_repaint; // values to repaint at the next flush
    QTimer m_repaintTimer;
    QTimer m_highlightTimer;
    QElapsedTimer m_clock;
    qint64 m_lastEditMs = -1000000;
    GenApi::INode* m_lastEdited = nullptr;
};
