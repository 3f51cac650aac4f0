#include "mainwindow/logwindow.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QSettings>
#include <QTreeView>

namespace {

const char* const kGroup = "LogWindow";
const char* const kMaxLogMessagesKey = "maxLogMessages";
const char* const kHeaderStateKey = "headerState";

} // namespace

LogWindow::LogWindow(const QString& title, QWidget* parent, Qt::WindowFlags flags)
    : QDockWidget(title, parent, flags), m_model(new LogMessageModel(this)),
      m_view(new QTreeView(this))
{
    m_view->setModel(m_model);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setSortingEnabled(true);
    m_view->setRootIsDecorated(false);
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);
    const struct
    {
        const char* text;
        void (LogWindow::*slot)();
    } actions[] = {{"Clear Message Log", &LogWindow::onClearAll},
                   {"Clear Selected", &LogWindow::onClearSelected},
                   {"Copy All", &LogWindow::onCopyAll},
                   {"Copy", &LogWindow::onCopySelected}};
    for (const auto& entry : actions) {
        auto* action = new QAction(entry.text, m_view);
        connect(action, &QAction::triggered, this, entry.slot);
        m_view->addAction(action);
    }
    setWidget(m_view);

    QSettings settings;
    settings.beginGroup(kGroup);
    m_maxLogMessages = settings.value(kMaxLogMessagesKey, 200).toInt();
    if (m_maxLogMessages < 1)
        m_maxLogMessages = 200;
    const QByteArray headerState = settings.value(kHeaderStateKey).toByteArray();
    settings.endGroup();
    if (headerState.isEmpty() || !m_view->header()->restoreState(headerState)) {
        m_view->setColumnWidth(0, 100);
        m_view->setColumnWidth(1, 150);
        m_view->setColumnWidth(2, 250);
        m_view->sortByColumn(1, Qt::DescendingOrder);
    }

    TarpoViewer::registerLogReceiver(this);
}

LogWindow::~LogWindow()
{
    TarpoViewer::unregisterLogReceiver(this);
    QSettings settings;
    settings.beginGroup(kGroup);
    settings.setValue(kMaxLogMessagesKey, m_maxLogMessages);
    settings.setValue(kHeaderStateKey, m_view->header()->saveState());
    settings.endGroup();
}

int LogWindow::postLogMessage(TarpoViewer::LogLevel level, const QString& source,
                              const QString& message, const QDateTime& timestamp)
{
    return TarpoViewer::postLogMessage(level, source, message, timestamp);
}

int LogWindow::postLogMessage(TarpoViewer::LogLevel level, const QString& source,
                              const QString& message, int existingId, const QDateTime& timestamp)
{
    return TarpoViewer::postLogMessage(level, source, message, existingId, timestamp);
}

void LogWindow::onLogMessage(TarpoViewer::LogLevel logType, QDateTime timestamp,
                             const QString& source, const QString& message, int newID,
                             int existingID)
{
    const QList<QStandardItem*> row = m_model->makeRow(logType, timestamp, source, message, newID);
    const int existingRow = existingID > 0 ? m_model->rowOfId(existingID) : -1;
    if (existingRow >= 0) {
        // The completion of an earlier entry becomes its child, shown beneath it.
        QStandardItem* entry = m_model->item(existingRow, LogMessageModel::LevelColumn);
        entry->appendRow(row);
        m_view->setRootIsDecorated(true);
        m_view->expand(entry->index());
        return;
    }
    m_model->insertRow(0, row);
    const QHeaderView* header = m_view->header();
    if (header->sortIndicatorSection() >= 0)
        m_model->sort(header->sortIndicatorSection(), header->sortIndicatorOrder());
    if (++m_count > m_maxLogMessages) {
        m_model->removeRow(m_model->rowCount() - 1);
        --m_count;
    }
}

void LogWindow::onClearAll()
{
    while (m_model->rowCount() > 0)
        m_model->removeRow(0);
    m_count = 0;
}

void LogWindow::onClearSelected()
{
    QList<int> rows;
    for (const QModelIndex& index : m_view->selectionModel()->selectedRows()) {
        if (!index.parent().isValid())
            rows << index.row();
    }
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    for (int row : rows) {
        m_model->removeRow(row);
        --m_count;
    }
}

void LogWindow::onCopyAll()
{
    QApplication::clipboard()->setText(m_model->toText());
}

void LogWindow::onCopySelected()
{
    QList<int> rows;
    for (const QModelIndex& index : m_view->selectionModel()->selectedRows()) {
        if (!index.parent().isValid())
            rows << index.row();
    }
    if (rows.isEmpty())
        return;
    QApplication::clipboard()->setText(m_model->toText(rows));
}
