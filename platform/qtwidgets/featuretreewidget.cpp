#include "qtwidgets/featuretreewidget.h"

#include "genapi/genapi.h"
#include "messagelog/messagelog.h"
#include "qtwidgets/featurefiltermodel.h"
#include "qtwidgets/featuretreedelegate.h"
#include "qtwidgets/featuretreemodel.h"
#include "qtwidgets/nodetext.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QTextStream>
#include <QTreeView>
#include <QVBoxLayout>

#include <unordered_set>

namespace {

const char* const kVisibilityNames[] = {"Beginner", "Expert", "Guru", "Invisible"};

} // namespace

FeatureTreeWidget::FeatureTreeWidget(const QString& favoritesTitle, QWidget* parent,
                                     GenApi::EVisibility visibility, bool nodeDebugMode)
    : TreeWidgetBase(parent), m_model(new FeatureTreeModel(favoritesTitle, this)),
      m_filter(new FeatureFilterModel(this)), m_view(new QTreeView(this)),
      m_search(new QLineEdit(this)), m_visibility(new QComboBox(this)),
      m_pollingBox(new QCheckBox("Polling", this)),
      m_favoritesBox(new QCheckBox("All favorites", this))
{
    qRegisterMetaType<GenApi::INode*>("GenApi::INode*");
    m_filter->setSourceModel(m_model);
    m_view->setModel(m_filter);
    m_view->setObjectName("featureTreeView");
    m_view->setItemDelegate(new FeatureTreeDelegate(m_model, m_view));
    m_view->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                            QAbstractItemView::SelectedClicked);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->header()->setSectionResizeMode(QHeaderView::Interactive);
    m_view->setColumnWidth(FeatureTreeModel::NameColumn, 200);

    m_search->setObjectName("searchField");
    m_search->setPlaceholderText("Search");
    m_search->setClearButtonEnabled(true);
    m_search->setToolTip("Finds features by name, display name, tool tip, description and "
                         "enumeration entries");
    for (int level = 0; level < (nodeDebugMode ? 4 : 3); ++level)
        m_visibility->addItem(kVisibilityNames[level], level);
    m_visibility->setToolTip("User level: the features shown");
    m_pollingBox->setToolTip("Read the features that change by themselves periodically");
    m_favoritesBox->setToolTip("Show favorites also while they are not available");
    m_favoritesBox->setChecked(true);

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(0, 0, 0, 0);
    bar->addWidget(m_search, 1);
    bar->addWidget(m_visibility);
    bar->addWidget(m_pollingBox);
    bar->addWidget(m_favoritesBox);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addLayout(bar);
    layout->addWidget(m_view);
    setFocusProxy(m_view);

    setVisibility(visibility);
    connect(m_search, &QLineEdit::textChanged, this, &FeatureTreeWidget::onSearchChanged);
    connect(m_visibility, qOverload<int>(&QComboBox::activated), this, [this] {
        const auto visibility = GenApi::EVisibility(m_visibility->currentData().toInt());
        setVisibility(visibility);
        emit visibilityChanged(visibility);
    });
    connect(m_pollingBox, &QCheckBox::clicked, this, [this](bool checked) {
        setPolling(checked);
        emit pollingStateChanged(checked);
    });
    connect(m_favoritesBox, &QCheckBox::clicked, this, [this](bool checked) {
        setViewAllFavorites(checked);
        emit viewAllFavoritesStateChanged(checked);
    });
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { onCurrentIndexChanged(current); });
    connect(m_view, &QWidget::customContextMenuRequested, this,
            &FeatureTreeWidget::showContextMenu);
    connect(m_model, &FeatureTreeModel::writeRefused, this,
            [this](const QString& feature, const QString& message) {
                TarpoViewer::postLogMessage(
                    TarpoViewer::Warning, feature,
                    QString("Failed to set \"%1\": %2").arg(feature, message));
            });

    // The rows in view change with expanding, scrolling, resizing and filtering.
    m_shownTimer.setSingleShot(true);
    m_shownTimer.setInterval(30);
    connect(&m_shownTimer, &QTimer::timeout, this, &FeatureTreeWidget::updateShownNodes);
    connect(m_view, &QTreeView::expanded, this, &FeatureTreeWidget::scheduleShownUpdate);
    connect(m_view, &QTreeView::collapsed, this, &FeatureTreeWidget::scheduleShownUpdate);
    connect(m_view->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &FeatureTreeWidget::scheduleShownUpdate);
    connect(m_filter, &QAbstractItemModel::layoutChanged, this,
            &FeatureTreeWidget::scheduleShownUpdate);
    connect(m_filter, &QAbstractItemModel::rowsInserted, this,
            &FeatureTreeWidget::scheduleShownUpdate);
    connect(m_filter, &QAbstractItemModel::modelReset, this,
            &FeatureTreeWidget::scheduleShownUpdate);
    m_pollTimer.setInterval(kPollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &FeatureTreeWidget::onPollTimer);
}

FeatureTreeWidget::~FeatureTreeWidget()
{
    m_filter->disconnect(this);
    m_model->disconnect(this);
    m_model->deviceIsClosed();
}

void FeatureTreeWidget::addNodeMap(GenApi::INodeMap* nodeMap, const QString& displayName,
                                   const QString& roleName, bool utf8)
{
    m_model->addNodeMap(nodeMap, displayName, roleName, utf8);
    if (roleName == "Camera") {
        // Favorites are kept per camera model.
        GenApi::CStringPtr model = nodeMap->GetNode("DeviceModelName");
        try {
            m_model->setModelName(model && GenApi::IsReadable(model)
                                      ? NodeText::text(model->GetValue().c_str(), utf8)
                                      : displayName);
        } catch (const GenICam::GenericException&) {
            m_model->setModelName(displayName);
        }
        // The camera's own features open at once.
        for (int row = 0; row < m_filter->rowCount(); ++row) {
            const QModelIndex index = m_filter->index(row, 0);
            if (m_filter->mapToSource(index).data(Qt::DisplayRole).toString() == displayName)
                m_view->expand(index);
        }
    }
    m_built = false;
    scheduleShownUpdate();
}

void FeatureTreeWidget::setVisibility(GenApi::EVisibility visibility)
{
    const int index = m_visibility->findData(int(visibility));
    m_visibility->setCurrentIndex(index >= 0 ? index : m_visibility->count() - 1);
    m_filter->setVisibility(visibility);
    if (!m_filter->searchText().isEmpty()) {
        const auto counts = m_model->countMatches(m_filter->searchText(), visibility);
        emit filterMatchesChanged(counts.first, counts.second);
    }
    scheduleShownUpdate();
}

GenApi::EVisibility FeatureTreeWidget::visibility() const
{
    return m_filter->visibility();
}

void FeatureTreeWidget::setPolling(bool polling)
{
    m_polling = polling;
    m_pollingBox->setChecked(polling);
    if (polling && isVisible()) {
        m_sincePoll.start();
        m_pollTimer.start();
    } else {
        m_pollTimer.stop();
    }
}

void FeatureTreeWidget::setViewAllFavorites(bool viewAll)
{
    m_favoritesBox->setChecked(viewAll);
    m_filter->setViewAllFavorites(viewAll);
}

void FeatureTreeWidget::setMonitorMode(bool monitorMode)
{
    m_model->setReadOnly(monitorMode);
}

void FeatureTreeWidget::deviceIsClosed()
{
    m_pollTimer.stop();
    m_model->deviceIsClosed();
}

GenApi::INode* FeatureTreeWidget::GetCurrentNode() const
{
    return m_model->node(m_filter->mapToSource(m_view->currentIndex()));
}

void FeatureTreeWidget::EnableGenICamCallbacks(bool enable)
{
    m_model->setCallbacksEnabled(enable);
}

void FeatureTreeWidget::Refresh()
{
    m_model->refresh();
}

// ---- search and selection ---------------------------------------------------------------------

void FeatureTreeWidget::onSearchChanged(const QString& text)
{
    const QString query = text.trimmed().toLower();
    if (!query.isEmpty() && !m_built) {
        m_model->buildAll();
        m_built = true;
    }
    m_filter->setSearchText(query);
    if (query.isEmpty()) {
        m_view->collapseAll();
        for (int row = 0; row < m_filter->rowCount(); ++row)
            if (m_filter->mapToSource(m_filter->index(row, 0)).data(FeatureTreeModel::KindRole) ==
                FeatureTreeModel::MapItem) {
                m_view->expand(m_filter->index(row, 0));
                break;
            }
        emit filterMatchesChanged(0, 0);
    } else {
        m_view->expandAll();
        const auto counts = m_model->countMatches(query, m_filter->visibility());
        emit filterMatchesChanged(counts.first, counts.second);
    }
    scheduleShownUpdate();
}

void FeatureTreeWidget::onCurrentIndexChanged(const QModelIndex& current)
{
    const QModelIndex source = m_filter->mapToSource(current);
    GenApi::INode* node = m_model->node(source);
    emit onCurrentChanged(node);
    if (!node && current.isValid()) {
        const QString name = source.data(Qt::DisplayRole).toString().toHtmlEscaped();
        emit onNewText(m_model->kind(source) == FeatureTreeModel::FavoritesItem
                           ? QString("<h1>%1</h1><p>The features you marked as favorites "
                                     "(context menu of a feature).</p>")
                                 .arg(name)
                           : QString("<h1>%1</h1><p>The features of %1.</p>").arg(name));
    }
}

// ---- what is shown ----------------------------------------------------------------------------

void FeatureTreeWidget::scheduleShownUpdate()
{
    if (!m_shownTimer.isActive())
        m_shownTimer.start();
}

void FeatureTreeWidget::updateShownNodes()
{
    std::unordered_set<GenApi::INode*> shown;
    if (isVisible()) {
        const int height = m_view->viewport()->height();
        for (QModelIndex index = m_view->indexAt(QPoint(1, 1)); index.isValid();
             index = m_view->indexBelow(index)) {
            if (m_view->visualRect(index).top() > height)
                break;
            if (GenApi::INode* node = m_model->node(m_filter->mapToSource(index)))
                shown.insert(node);
        }
    }
    m_model->setShownNodes(shown);
}

void FeatureTreeWidget::showEvent(QShowEvent* event)
{
    TreeWidgetBase::showEvent(event);
    setPolling(m_polling);
    scheduleShownUpdate();
}

void FeatureTreeWidget::hideEvent(QHideEvent* event)
{
    TreeWidgetBase::hideEvent(event);
    m_pollTimer.stop();
    m_model->setShownNodes({});
}

void FeatureTreeWidget::onPollTimer()
{
    const qint64 elapsed = m_sincePoll.restart();
    m_model->poll(elapsed);
}

// ---- clipboard, favorites, menu ---------------------------------------------------------------

QString FeatureTreeWidget::clipboardText()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_model->buildAll();
    m_built = true;
    QString text = "# Tarpo Feature Stream\n# Version\t1\n";
    std::vector<std::pair<QModelIndex, QString>> pending;
    for (int row = m_model->rowCount() - 1; row >= 0; --row)
        pending.emplace_back(m_model->index(row, 0), QString());
    while (!pending.empty()) {
        const auto [index, path] = pending.back();
        pending.pop_back();
        const auto kind = m_model->kind(index);
        if (kind == FeatureTreeModel::FavoritesItem)
            continue;
        if (index.data(FeatureTreeModel::VisibilityRole).toInt() > m_filter->visibility())
            continue;
        const QString name = index.data(Qt::DisplayRole).toString();
        if (kind == FeatureTreeModel::FeatureItem) {
            GenApi::INode* node = m_model->node(index);
            try {
                if (GenApi::IsReadable(node) && !dynamic_cast<GenApi::ICommand*>(node))
                    text += QString("%1\t%2\n")
                                .arg(QString::fromStdString(node->GetName()),
                                     NodeText::fileValue(node, m_model->utf8Of(index)));
            } catch (const GenICam::GenericException& e) {
                text += QString("# %1: %2\n")
                            .arg(QString::fromStdString(node->GetName()),
                                 QString::fromUtf8(e.GetDescription()));
            }
            continue;
        }
        const QString here = path.isEmpty() ? name : path + " / " + name;
        text += "# " + here + '\n';
        for (int row = m_model->rowCount(index) - 1; row >= 0; --row)
            pending.emplace_back(m_model->index(row, 0, index), here);
    }
    QApplication::restoreOverrideCursor();
    return text;
}

void FeatureTreeWidget::copyToClipboard()
{
    QApplication::clipboard()->setText(clipboardText());
}

bool FeatureTreeWidget::exportFavorites(const QString& fileName) const
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    QTextStream out(&file);
    for (const QString& favorite : m_model->favorites())
        out << favorite << '\n';
    return out.status() == QTextStream::Ok;
}

bool FeatureTreeWidget::importFavorites(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    QStringList favorites = m_model->favorites();
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.contains('/') && !line.startsWith('#'))
            favorites << line;
    }
    m_model->setFavorites(favorites);
    return true;
}

void FeatureTreeWidget::showContextMenu(const QPoint& pos)
{
    const QModelIndex index = m_filter->mapToSource(m_view->indexAt(pos));
    QMenu menu(this);
    GenApi::INode* node = m_model->node(index);
    if (node && m_model->kind(index) == FeatureTreeModel::FeatureItem) {
        const bool favorite = m_model->isFavorite(node);
        menu.addAction(favorite ? "Remove from Favorites" : "Add to Favorites", this,
                       [this, index, favorite] { m_model->setFavorite(index, !favorite); });
        menu.addAction("Copy Value", this, [index] {
            QApplication::clipboard()->setText(
                index.siblingAtColumn(FeatureTreeModel::ValueColumn).data().toString());
        });
        menu.addSeparator();
    }
    menu.addAction("Copy Features", this, &FeatureTreeWidget::copyToClipboard);
    menu.addAction("Refresh", this, &FeatureTreeWidget::Refresh);
    menu.addSeparator();
    menu.addAction("Export Favorites...", this, [this] {
        const QString file = QFileDialog::getSaveFileName(this, "Export Favorites", QString(),
                                                          "Favorites (*.txt);;All Files (*)");
        if (!file.isEmpty())
            exportFavorites(file);
    });
    menu.addAction("Import Favorites...", this, [this] {
        const QString file = QFileDialog::getOpenFileName(this, "Import Favorites", QString(),
                                                          "Favorites (*.txt);;All Files (*)");
        if (!file.isEmpty())
            importFavorites(file);
    });
    menu.exec(m_view->viewport()->mapToGlobal(pos));
}
