#include "qtwidgets/featuretreemodel.h"

#include "genapi/genapi.h"
#include "qtwidgets/featurevaluereader.h"
#include "qtwidgets/nodetext.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QSettings>

#include <algorithm>
#include <limits>

namespace {

const char* const kFavoritesGroup = "FeatureTreeWindow/Favorites";
const QColor kHighlight(255, 236, 150);

bool isValueType(GenApi::EInterfaceType type)
{
    return type == GenApi::intfIInteger || type == GenApi::intfIFloat ||
           type == GenApi::intfIBoolean || type == GenApi::intfIString ||
           type == GenApi::intfIEnumeration || type == GenApi::intfIRegister ||
           type == GenApi::intfICommand;
}

// The node's value can be locked (its description names a lock), as opposed to being read-only.
bool canBeLocked(GenApi::INode* node)
{
    GenApi::gcstring value, attribute;
    return node->GetProperty("pIsLocked", value, attribute);
}

QString stripUnit(const QString& text)
{
    const QString trimmed = text.trimmed();
    const int space = trimmed.indexOf(' ');
    return space < 0 ? trimmed : trimmed.left(space);
}

} // namespace

struct FeatureTreeModel::Item
{
    Kind kind = FeatureItem;
    GenApi::INode* node = nullptr;
    Item* parent = nullptr;
    int row = 0;
    int map = -1;
    std::vector<std::unique_ptr<Item>> children;
    bool built = false;
    QString name;
    QString searchText;
    GenApi::EVisibility visibility = GenApi::Beginner;
    GenApi::EInterfaceType type = GenApi::intfIValue;
};

struct FeatureTreeModel::Map
{
    GenApi::INodeMap* nodeMap = nullptr;
    QString displayName;
    QString role;
    bool utf8 = true;
    int64_t order = std::numeric_limits<int64_t>::max();
};

struct FeatureTreeModel::NodeState
{
    QString value;
    QString error;
    GenApi::EAccessMode access = GenApi::_UndefinedAccesMode;
    bool known = false;
    bool stale = true;
    bool requested = false;
    bool lockable = false;
    int map = -1;
    GenApi::CallbackHandleType callback = 0;
    std::vector<Item*> items;
    qint64 highlightUntilMs = 0;
};

FeatureTreeModel::FeatureTreeModel(const QString& favoritesTitle, QObject* parent)
    : QAbstractItemModel(parent), m_favoritesTitle(favoritesTitle),
      m_root(std::make_unique<Item>()), m_reader(std::make_unique<FeatureValueReader>(this))
{
    m_root->kind = MapItem;
    m_root->built = true;
    m_clock.start();
    m_repaintTimer.setSingleShot(true);
    m_repaintTimer.setInterval(kRepaintIntervalMs);
    connect(&m_repaintTimer, &QTimer::timeout, this, &FeatureTreeModel::flushRepaints);
    m_highlightTimer.setInterval(250);
    connect(&m_highlightTimer, &QTimer::timeout, this, [this] {
        bool active = false;
        const qint64 now = m_clock.elapsed();
        for (auto& entry : m_nodes) {
            NodeState& state = *entry.second;
            if (state.highlightUntilMs == 0)
                continue;
            if (state.highlightUntilMs <= now) {
                state.highlightUntilMs = 0;
                m_repaint.insert(entry.first);
            } else {
                active = true;
            }
        }
        if (!active)
            m_highlightTimer.stop();
        flushRepaints();
    });
}

FeatureTreeModel::~FeatureTreeModel()
{
    // Nothing is told any more: the views may be going too.
    blockSignals(true);
    deviceIsClosed();
}

// ---- maps and items -----------------------------------------------------------------------

void FeatureTreeModel::addNodeMap(GenApi::INodeMap* nodeMap, const QString& displayName,
                                  const QString& roleName, bool utf8)
{
    if (!nodeMap)
        return;
    auto map = std::make_unique<Map>();
    map->nodeMap = nodeMap;
    map->displayName = displayName;
    map->role = roleName;
    map->utf8 = utf8;
    if (auto* root = dynamic_cast<GenApi::IUserData*>(nodeMap->GetNode("Root"))) {
        const GenApi::UserData_t order = root->GetUserData();
        if (order != GenApi::NoUserData)
            map->order = int64_t(order);
    }
    const int mapIndex = int(m_maps.size());
    const int64_t order = map->order;
    m_maps.push_back(std::move(map));

    if (!m_favoritesItem) {
        beginInsertRows(QModelIndex(), 0, 0);
        auto favorites = std::make_unique<Item>();
        favorites->kind = FavoritesItem;
        favorites->parent = m_root.get();
        favorites->name = m_favoritesTitle;
        favorites->built = true;
        m_favoritesItem = favorites.get();
        m_root->children.insert(m_root->children.begin(), std::move(favorites));
        endInsertRows();
    }
    // Maps in the order of their root marker, unmarked ones last in the order they came.
    int row = 1;
    while (row < int(m_root->children.size()) &&
           m_maps[size_t(m_root->children[size_t(row)]->map)]->order <= order)
        ++row;
    beginInsertRows(QModelIndex(), row, row);
    auto item = std::make_unique<Item>();
    item->kind = MapItem;
    item->parent = m_root.get();
    item->map = mapIndex;
    item->name = displayName;
    item->searchText = displayName.toLower();
    m_root->children.insert(m_root->children.begin() + row, std::move(item));
    for (size_t i = 0; i < m_root->children.size(); ++i)
        m_root->children[i]->row = int(i);
    endInsertRows();
    rebuildFavorites();
}

std::unique_ptr<FeatureTreeModel::Item> FeatureTreeModel::makeItem(Kind kind, GenApi::INode* node,
                                                                   Item* parent, int map) const
{
    auto item = std::make_unique<Item>();
    item->kind = kind;
    item->node = node;
    item->parent = parent;
    item->map = map;
    const bool utf8 = m_maps[size_t(map)]->utf8;
    item->name = NodeText::text(node->GetDisplayName().c_str(), utf8);
    item->visibility = node->GetVisibility();
    item->type = node->GetPrincipalInterfaceType();
    QStringList search{QString::fromStdString(node->GetName()), item->name,
                       NodeText::text(node->GetToolTip().c_str(), utf8),
                       NodeText::text(node->GetDescription().c_str(), utf8)};
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::NodeList_t entries;
        enumeration->GetEntries(entries);
        for (GenApi::INode* entry : entries) {
            search << NodeText::text(entry->GetDisplayName().c_str(), utf8);
            if (auto* enumEntry = dynamic_cast<GenApi::IEnumEntry*>(entry))
                search << NodeText::text(enumEntry->GetSymbolic().c_str(), utf8);
        }
    }
    item->searchText = search.join('\n').toLower();
    if (kind == FeatureItem) {
        NodeState& state = stateOf(node);
        state.map = map;
        state.items.push_back(item.get());
        watch(node);
    }
    return item;
}

void FeatureTreeModel::buildChildren(Item* item) const
{
    if (item->built)
        return;
    item->built = true;
    GenApi::ICategory* category = nullptr;
    if (item->kind == MapItem && item->map >= 0)
        category =
            dynamic_cast<GenApi::ICategory*>(m_maps[size_t(item->map)]->nodeMap->GetNode("Root"));
    else if (item->kind == CategoryItem)
        category = dynamic_cast<GenApi::ICategory*>(item->node);
    if (!category)
        return;
    GenApi::FeatureList_t features;
    category->GetFeatures(features);
    for (GenApi::IValue* feature : features) {
        auto* node = dynamic_cast<GenApi::INode*>(feature);
        if (!node)
            continue;
        const bool isCategory = dynamic_cast<GenApi::ICategory*>(node) != nullptr;
        if (!isCategory && !isValueType(node->GetPrincipalInterfaceType()))
            continue;
        auto child = makeItem(isCategory ? CategoryItem : FeatureItem, node, item, item->map);
        child->row = int(item->children.size());
        item->children.push_back(std::move(child));
    }
}

FeatureTreeModel::NodeState& FeatureTreeModel::stateOf(GenApi::INode* node) const
{
    std::unique_ptr<NodeState>& state = m_nodes[node];
    if (!state) {
        state = std::make_unique<NodeState>();
        state->lockable = canBeLocked(node);
    }
    return *state;
}

void FeatureTreeModel::watch(GenApi::INode* node) const
{
    NodeState& state = stateOf(node);
    if (state.callback)
        return;
    auto* self = const_cast<FeatureTreeModel*>(this);
    // Runs inside the node map's lock on whichever thread changed the node.
    state.callback =
        GenApi::Register(node, [self](GenApi::INode* changed) { self->onNodeChanged(changed); });
}

void FeatureTreeModel::deviceIsClosed()
{
    m_reader->clear();
    for (auto& entry : m_nodes)
        if (entry.second->callback)
            entry.first->DeregisterCallback(entry.second->callback);
    {
        std::lock_guard<std::mutex> lock(m_changedMutex);
        m_changed.clear();
    }
    beginResetModel();
    m_nodes.clear();
    m_shown.clear();
    m_repaint.clear();
    m_maps.clear();
    m_root->children.clear();
    m_favoritesItem = nullptr;
    endResetModel();
}

void FeatureTreeModel::buildAll()
{
    std::vector<QModelIndex> pending{QModelIndex()};
    while (!pending.empty()) {
        const QModelIndex parent = pending.back();
        pending.pop_back();
        if (canFetchMore(parent))
            fetchMore(parent);
        for (int row = 0; row < rowCount(parent); ++row) {
            const QModelIndex child = index(row, 0, parent);
            if (hasChildren(child))
                pending.push_back(child);
        }
    }
}

QModelIndex FeatureTreeModel::indexOf(GenApi::INode* node)
{
    if (!node)
        return QModelIndex();
    const auto it = m_nodes.find(node);
    if (it == m_nodes.end()) {
        // Not built yet: build the categories on the way to it.
        buildAll();
        const auto built = m_nodes.find(node);
        if (built == m_nodes.end())
            return QModelIndex();
        for (Item* item : built->second->items)
            if (item->parent != m_favoritesItem)
                return indexFor(item);
        return QModelIndex();
    }
    for (Item* item : it->second->items)
        if (item->parent != m_favoritesItem)
            return indexFor(item);
    return QModelIndex();
}

FeatureTreeModel::Item* FeatureTreeModel::item(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<Item*>(index.internalPointer()) : m_root.get();
}

QModelIndex FeatureTreeModel::indexFor(const Item* item, int column) const
{
    if (!item || item == m_root.get())
        return QModelIndex();
    return createIndex(item->row, column, const_cast<Item*>(item));
}

GenApi::INode* FeatureTreeModel::node(const QModelIndex& index) const
{
    return index.isValid() ? item(index)->node : nullptr;
}

FeatureTreeModel::Kind FeatureTreeModel::kind(const QModelIndex& index) const
{
    return item(index)->kind;
}

QString FeatureTreeModel::mapRoleOf(const QModelIndex& index) const
{
    const Item* it = item(index);
    return it->map >= 0 ? m_maps[size_t(it->map)]->role : QString();
}

QString FeatureTreeModel::mapDisplayNameOf(const QModelIndex& index) const
{
    const Item* it = item(index);
    return it->map >= 0 ? m_maps[size_t(it->map)]->displayName : QString();
}

bool FeatureTreeModel::utf8Of(const QModelIndex& index) const
{
    const Item* it = item(index);
    return it->map < 0 || m_maps[size_t(it->map)]->utf8;
}

// ---- QAbstractItemModel -----------------------------------------------------------------------

QModelIndex FeatureTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    const Item* p = item(parent);
    if (row < 0 || column < 0 || column >= ColumnCount || row >= int(p->children.size()))
        return QModelIndex();
    return createIndex(row, column, p->children[size_t(row)].get());
}

QModelIndex FeatureTreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid())
        return QModelIndex();
    return indexFor(item(child)->parent);
}

int FeatureTreeModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0)
        return 0;
    return int(item(parent)->children.size());
}

int FeatureTreeModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

bool FeatureTreeModel::hasChildren(const QModelIndex& parent) const
{
    const Item* p = item(parent);
    if (p->kind == FeatureItem)
        return false;
    return !p->built || !p->children.empty();
}

bool FeatureTreeModel::canFetchMore(const QModelIndex& parent) const
{
    const Item* p = item(parent);
    return p->kind != FeatureItem && !p->built;
}

void FeatureTreeModel::fetchMore(const QModelIndex& parent)
{
    Item* p = item(parent);
    if (p->built)
        return;
    // Built aside, then announced: the view sees the rows appear at once.
    Item scratch;
    scratch.kind = p->kind;
    scratch.node = p->node;
    scratch.map = p->map;
    buildChildren(&scratch);
    p->built = true;
    if (scratch.children.empty())
        return;
    beginInsertRows(parent, 0, int(scratch.children.size()) - 1);
    for (auto& child : scratch.children) {
        child->parent = p;
        p->children.push_back(std::move(child));
    }
    endInsertRows();
}

QVariant FeatureTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const Item* it = item(index);
    const NodeState* state = nullptr;
    if (it->kind == FeatureItem) {
        const auto found = m_nodes.find(it->node);
        state = found == m_nodes.end() ? nullptr : found->second.get();
    }
    const bool available =
        !state || !state->known || (state->access != GenApi::NA && state->access != GenApi::NI);
    const bool locked = state && state->known && state->access == GenApi::RO && state->lockable;
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == NameColumn)
            return it->name;
        if (!state)
            return QVariant();
        if (it->type == GenApi::intfICommand)
            return GenApi::IsWritable(state->access) ? QString("Execute") : QString();
        if (it->type == GenApi::intfIBoolean)
            return QVariant();
        return state->known ? state->value : QString();
    case Qt::CheckStateRole:
        if (index.column() == ValueColumn && state && it->type == GenApi::intfIBoolean &&
            state->known && GenApi::IsReadable(state->access))
            return state->value == "True" ? Qt::Checked : Qt::Unchecked;
        return QVariant();
    case Qt::ToolTipRole: {
        if (!it->node)
            return it->name;
        QString tip =
            QString("<b>%1</b> (%2)")
                .arg(it->name.toHtmlEscaped(), QString::fromStdString(it->node->GetName()));
        const QString toolTip =
            NodeText::text(it->node->GetToolTip().c_str(), m_maps[size_t(it->map)]->utf8);
        if (!toolTip.isEmpty())
            tip += "<br/>" + toolTip.toHtmlEscaped();
        if (state && state->known) {
            if (!available)
                tip += "<br/><i>Not available at the moment.</i>";
            else if (locked)
                tip += "<br/><i>Locked: it cannot be changed now (for example while grabbing).</i>";
            else if (state->access == GenApi::RO)
                tip += "<br/><i>Read-only.</i>";
            if (!state->error.isEmpty())
                tip += "<br/><i>" + state->error.toHtmlEscaped() + "</i>";
        }
        return tip;
    }
    case Qt::ForegroundRole:
        if (!available || locked)
            return QApplication::palette().color(QPalette::Disabled, QPalette::Text);
        return QVariant();
    case Qt::BackgroundRole:
        if (state && state->highlightUntilMs > m_clock.elapsed())
            return kHighlight;
        return QVariant();
    case Qt::FontRole:
        if (it->kind == MapItem || it->kind == FavoritesItem) {
            QFont font = QApplication::font();
            font.setBold(true);
            return font;
        }
        return QVariant();
    case KindRole:
        return int(it->kind);
    case VisibilityRole:
        return int(it->visibility);
    case SearchTextRole:
        return it->searchText;
    case AccessModeRole:
        return int(state && state->known ? state->access : GenApi::_UndefinedAccesMode);
    case InterfaceRole:
        return int(it->type);
    case FavoriteRole:
        return it->parent == m_favoritesItem;
    case HighlightRole:
        return state && state->highlightUntilMs > m_clock.elapsed();
    case NodeRole:
        return quintptr(it->node);
    default:
        return QVariant();
    }
}

Qt::ItemFlags FeatureTreeModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    const Item* it = item(index);
    if (index.column() != ValueColumn || it->kind != FeatureItem || m_readOnly)
        return flags;
    const auto found = m_nodes.find(it->node);
    if (found == m_nodes.end() || !found->second->known ||
        !GenApi::IsWritable(found->second->access))
        return flags;
    if (it->type == GenApi::intfIBoolean)
        return flags | Qt::ItemIsUserCheckable;
    return flags | Qt::ItemIsEditable;
}

bool FeatureTreeModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.column() != ValueColumn)
        return false;
    QString error;
    if (role == Qt::CheckStateRole)
        return writeValue(index, value.toInt() == Qt::Checked ? "1" : "0", &error);
    if (role == Qt::EditRole)
        return writeValue(index, value.toString(), &error);
    return false;
}

QVariant FeatureTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    return section == NameColumn ? QString("Feature") : QString("Value");
}

std::pair<int, int> FeatureTreeModel::countMatches(const QString& lowerQuery,
                                                   GenApi::EVisibility level) const
{
    int all = 0;
    int hidden = 0;
    std::vector<const Item*> pending{m_root.get()};
    while (!pending.empty()) {
        const Item* item = pending.back();
        pending.pop_back();
        for (const auto& child : item->children) {
            if (child.get() == m_favoritesItem)
                continue;
            if (child->kind == FeatureItem) {
                if (child->searchText.contains(lowerQuery)) {
                    ++all;
                    if (child->visibility > level)
                        ++hidden;
                }
            } else {
                pending.push_back(child.get());
            }
        }
    }
    return {all, hidden};
}

// ---- values -----------------------------------------------------------------------------------

void FeatureTreeModel::setShownNodes(const std::unordered_set<GenApi::INode*>& nodes)
{
    m_shown = nodes;
    for (GenApi::INode* node : m_shown) {
        const auto it = m_nodes.find(node);
        if (it != m_nodes.end() && (!it->second->known || it->second->stale))
            requestRead(node);
    }
}

void FeatureTreeModel::requestRead(GenApi::INode* node)
{
    NodeState& state = stateOf(node);
    // A read under way may have seen the old value: staleness stays, and the node is read once
    // more when that result comes.
    if (state.requested || state.map < 0)
        return;
    state.requested = true;
    state.stale = false;
    m_reader->request(node, m_maps[size_t(state.map)]->utf8);
}

void FeatureTreeModel::takeValues()
{
    for (FeatureValueReader::Result& result : m_reader->takeResults()) {
        const auto it = m_nodes.find(result.node);
        if (it == m_nodes.end())
            continue;
        NodeState& state = *it->second;
        state.requested = false;
        const bool changed =
            !state.known || state.value != result.value || state.access != result.access;
        state.known = true;
        state.value = result.value;
        state.access = result.access;
        state.error = result.error;
        if (changed)
            m_repaint.insert(result.node);
        // Stale again while it was being read: read once more.
        if (state.stale && m_shown.count(result.node))
            requestRead(result.node);
    }
    if (!m_repaint.isEmpty() && !m_repaintTimer.isActive())
        m_repaintTimer.start();
}

void FeatureTreeModel::flushRepaints()
{
    const QSet<GenApi::INode*> nodes = std::move(m_repaint);
    m_repaint.clear();
    for (GenApi::INode* node : nodes) {
        const auto it = m_nodes.find(node);
        if (it == m_nodes.end())
            continue;
        for (Item* item : it->second->items)
            emit dataChanged(indexFor(item, NameColumn), indexFor(item, ValueColumn));
    }
}

void FeatureTreeModel::onNodeChanged(GenApi::INode* node)
{
    if (!m_callbacksEnabled)
        return;
    std::lock_guard<std::mutex> lock(m_changedMutex);
    m_changed.insert(node);
    if (m_changesPosted)
        return;
    m_changesPosted = true;
    // any thread -> GUI thread, queued: the changes are taken under m_changedMutex there
    QMetaObject::invokeMethod(
        this, [this] { processChanges(); }, Qt::QueuedConnection);
}

void FeatureTreeModel::processChanges()
{
    std::unordered_set<GenApi::INode*> changed;
    {
        std::lock_guard<std::mutex> lock(m_changedMutex);
        changed.swap(m_changed);
        m_changesPosted = false;
    }
    const qint64 now = m_clock.elapsed();
    const bool afterEdit = now - m_lastEditMs < 1000;
    for (GenApi::INode* node : changed) {
        const auto it = m_nodes.find(node);
        if (it == m_nodes.end())
            continue;
        NodeState& state = *it->second;
        state.stale = true;
        if (afterEdit && node != m_lastEdited && !state.items.empty()) {
            state.highlightUntilMs = now + kHighlightMs;
            m_repaint.insert(node);
            if (!m_highlightTimer.isActive())
                m_highlightTimer.start();
        }
        if (m_shown.count(node))
            requestRead(node);
    }
    if (!m_repaint.isEmpty() && !m_repaintTimer.isActive())
        m_repaintTimer.start();
}

void FeatureTreeModel::refresh()
{
    for (auto& entry : m_nodes)
        entry.second->stale = true;
    for (GenApi::INode* node : m_shown)
        if (m_nodes.count(node))
            requestRead(node);
}

void FeatureTreeModel::setReadOnly(bool readOnly)
{
    if (m_readOnly == readOnly)
        return;
    beginResetModel();
    m_readOnly = readOnly;
    endResetModel();
}

void FeatureTreeModel::poll(int64_t elapsedMs)
{
    for (const auto& map : m_maps)
        map->nodeMap->Poll(elapsedMs);
}

int FeatureTreeModel::readCount() const
{
    return m_reader->readCount();
}

bool FeatureTreeModel::valueKnown(GenApi::INode* node) const
{
    const auto it = m_nodes.find(node);
    return it != m_nodes.end() && it->second->known;
}

bool FeatureTreeModel::waitForReads(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        bool pending = !m_reader->isIdle();
        for (const auto& entry : m_nodes)
            pending = pending || entry.second->requested;
        if (!pending) {
            flushRepaints();
            return true;
        }
    }
    return false;
}

// ---- writes -----------------------------------------------------------------------------------

bool FeatureTreeModel::writeValue(const QModelIndex& index, const QString& text, QString* error)
{
    Item* it = item(index);
    if (it->kind != FeatureItem || m_readOnly)
        return false;
    GenApi::INode* node = it->node;
    const bool utf8 = m_maps[size_t(it->map)]->utf8;
    auto refuse = [&](const QString& message) {
        *error = message;
        emit writeRefused(it->name, message);
        NodeState& state = stateOf(node);
        state.stale = true;
        requestRead(node);
        return false;
    };
    m_lastEditMs = m_clock.elapsed();
    m_lastEdited = node;
    try {
        if (auto* integer = dynamic_cast<GenApi::IInteger*>(node)) {
            const QString number = stripUnit(text);
            bool ok = false;
            const qlonglong value = number.startsWith("0x", Qt::CaseInsensitive)
                                        ? number.mid(2).toLongLong(&ok, 16)
                                        : number.toLongLong(&ok, 10);
            if (!ok)
                return refuse(QString("'%1' is not a whole number").arg(text));
            integer->SetValue(value);
        } else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
            GenApi::NodeList_t entries;
            enumeration->GetEntries(entries);
            QString symbolic = text;
            for (GenApi::INode* entry : entries) {
                auto* enumEntry = dynamic_cast<GenApi::IEnumEntry*>(entry);
                if (enumEntry && NodeText::text(entry->GetDisplayName().c_str(), utf8) == text)
                    symbolic = NodeText::text(enumEntry->GetSymbolic().c_str(), utf8);
            }
            enumeration->FromString(symbolic.toStdString().c_str());
        } else if (auto* floating = dynamic_cast<GenApi::IFloat*>(node)) {
            bool ok = false;
            const double value = stripUnit(text).toDouble(&ok);
            if (!ok)
                return refuse(QString("'%1' is not a number").arg(text));
            floating->SetValue(value);
        } else if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node)) {
            const QString lower = text.trimmed().toLower();
            boolean->SetValue(lower == "1" || lower == "true");
        } else if (auto* string = dynamic_cast<GenApi::IString*>(node)) {
            string->SetValue(utf8 ? text.toUtf8().constData() : text.toLatin1().constData());
        } else if (auto* reg = dynamic_cast<GenApi::IRegister*>(node)) {
            QByteArray bytes = QByteArray::fromHex(text.section(':', -1).toLatin1());
            bytes.resize(int(reg->GetLength()));
            reg->Set(reinterpret_cast<const uint8_t*>(bytes.constData()), bytes.size());
        } else {
            return false;
        }
    } catch (const GenICam::GenericException& e) {
        return refuse(QString::fromUtf8(e.GetDescription()));
    }
    NodeState& state = stateOf(node);
    state.stale = true;
    requestRead(node);
    return true;
}

bool FeatureTreeModel::executeCommand(const QModelIndex& index, QString* error)
{
    Item* it = item(index);
    auto* command = dynamic_cast<GenApi::ICommand*>(it->node);
    if (!command || m_readOnly)
        return false;
    m_lastEditMs = m_clock.elapsed();
    m_lastEdited = it->node;
    try {
        command->Execute();
    } catch (const GenICam::GenericException& e) {
        *error = QString::fromUtf8(e.GetDescription());
        emit writeRefused(it->name, *error);
        return false;
    }
    return true;
}

// ---- favorites --------------------------------------------------------------------------------

void FeatureTreeModel::setModelName(const QString& modelName)
{
    m_modelName = modelName;
    loadFavorites();
}

QString FeatureTreeModel::favoriteKey(const Item* item) const
{
    return m_maps[size_t(item->map)]->role + '/' + QString::fromStdString(item->node->GetName());
}

bool FeatureTreeModel::isFavorite(GenApi::INode* node) const
{
    const auto it = m_nodes.find(node);
    if (it == m_nodes.end())
        return false;
    for (const Item* item : it->second->items)
        if (item->parent == m_favoritesItem)
            return true;
    return false;
}

void FeatureTreeModel::setFavorite(const QModelIndex& index, bool favorite)
{
    const Item* it = item(index);
    if (it->kind != FeatureItem)
        return;
    const QString key = favoriteKey(it);
    if (favorite == m_favorites.contains(key))
        return;
    if (favorite)
        m_favorites << key;
    else
        m_favorites.removeAll(key);
    saveFavorites();
    rebuildFavorites();
    emit favoritesChanged();
}

void FeatureTreeModel::setFavorites(const QStringList& favorites)
{
    m_favorites = favorites;
    m_favorites.removeDuplicates();
    saveFavorites();
    rebuildFavorites();
    emit favoritesChanged();
}

void FeatureTreeModel::loadFavorites()
{
    if (m_modelName.isEmpty())
        return;
    QSettings settings;
    settings.beginGroup(kFavoritesGroup);
    m_favorites = settings.value(m_modelName).toStringList();
    rebuildFavorites();
}

void FeatureTreeModel::saveFavorites() const
{
    if (m_modelName.isEmpty())
        return;
    QSettings settings;
    settings.beginGroup(kFavoritesGroup);
    settings.setValue(m_modelName, m_favorites);
}

void FeatureTreeModel::rebuildFavorites()
{
    if (!m_favoritesItem)
        return;
    const QModelIndex parent = indexFor(m_favoritesItem);
    if (!m_favoritesItem->children.empty()) {
        beginRemoveRows(parent, 0, int(m_favoritesItem->children.size()) - 1);
        for (const auto& child : m_favoritesItem->children) {
            auto& items = stateOf(child->node).items;
            items.erase(std::remove(items.begin(), items.end(), child.get()), items.end());
        }
        m_favoritesItem->children.clear();
        endRemoveRows();
    }
    std::vector<std::unique_ptr<Item>> children;
    for (const QString& key : m_favorites) {
        const QString role = key.section('/', 0, 0);
        const QString name = key.section('/', 1);
        for (size_t map = 0; map < m_maps.size(); ++map) {
            if (m_maps[map]->role != role)
                continue;
            GenApi::INode* node = m_maps[map]->nodeMap->GetNode(name.toStdString().c_str());
            if (!node || dynamic_cast<GenApi::ICategory*>(node))
                continue;
            auto child = makeItem(FeatureItem, node, m_favoritesItem, int(map));
            child->row = int(children.size());
            children.push_back(std::move(child));
        }
    }
    if (children.empty())
        return;
    beginInsertRows(parent, 0, int(children.size()) - 1);
    m_favoritesItem->children = std::move(children);
    endInsertRows();
}
