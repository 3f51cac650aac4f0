#include "messagelog/logmessagemodel.h"

#include <QPainter>
#include <QPixmap>

namespace {

const char* const kTimeFormat = "yyyy-MM-dd hh:mm:ss.zzz";

QIcon levelIcon(int level)
{
    // Small round markers: grey debug, blue information, amber warning, red error, dark red
    // critical.
    QColor color;
    switch (level) {
    case TarpoViewer::Debug:
        color = QColor(140, 140, 140);
        break;
    case TarpoViewer::Information:
    case TarpoViewer::InformationHigh:
        color = QColor(40, 110, 200);
        break;
    case TarpoViewer::Warning:
        color = QColor(230, 160, 20);
        break;
    case TarpoViewer::Error:
        color = QColor(210, 40, 40);
        break;
    case TarpoViewer::Critical:
        color = QColor(130, 0, 0);
        break;
    default:
        return QIcon();
    }
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(color.darker(130));
    painter.setBrush(color);
    painter.drawEllipse(QRectF(2.5, 2.5, 11, 11));
    return QIcon(pixmap);
}

} // namespace

LogMessageModel::LogMessageModel(QObject* parent) : QStandardItemModel(0, 4, parent)
{
    setHorizontalHeaderLabels({"Level", "Time", "Source", "Message"});
}

QString LogMessageModel::levelText(int level)
{
    switch (level) {
    case TarpoViewer::Debug:
        return "Debug";
    case TarpoViewer::Information:
    case TarpoViewer::InformationHigh:
        return "Information";
    case TarpoViewer::Warning:
        return "Warning";
    case TarpoViewer::Error:
        return "Error";
    case TarpoViewer::Critical:
        return "Critical";
    default:
        return "NONE";
    }
}

QString LogMessageModel::levelAccessibleText(int level)
{
    switch (level) {
    case TarpoViewer::Information:
    case TarpoViewer::InformationHigh:
        return "Info";
    default:
        return levelText(level);
    }
}

QList<QStandardItem*> LogMessageModel::makeRow(int level, const QDateTime& timestamp,
                                               const QString& source, const QString& message,
                                               int id) const
{
    auto* levelItem = new QStandardItem(levelIcon(level), levelText(level));
    levelItem->setData(levelAccessibleText(level), Qt::AccessibleDescriptionRole);
    levelItem->setData(id, IdRole);
    // The time text sorts like the instant; the model's stable sort keeps newer-first among
    // messages of one millisecond.
    auto* timeItem = new QStandardItem(timestamp.toString(kTimeFormat));
    QList<QStandardItem*> row{levelItem, timeItem, new QStandardItem(source),
                              new QStandardItem(message)};
    for (QStandardItem* item : row)
        item->setEditable(false);
    return row;
}

int LogMessageModel::rowOfId(int id) const
{
    for (int row = 0; row < rowCount(); ++row) {
        if (item(row, LevelColumn)->data(IdRole).toInt() == id)
            return row;
    }
    return -1;
}

QString LogMessageModel::toText(const QList<int>& rows) const
{
    QString text = "Type\tTime\tSource\tMessage\n";
    auto appendRow = [&text](const QStandardItem* parent, int row, const QStandardItemModel* m) {
        QStringList fields;
        for (int column = 0; column < 4; ++column) {
            const QStandardItem* cell = parent ? parent->child(row, column) : m->item(row, column);
            fields << (cell ? cell->text() : QString());
        }
        text += fields.join('\t') + "\r\n";
    };
    for (int row = 0; row < rowCount(); ++row) {
        if (!rows.isEmpty() && !rows.contains(row))
            continue;
        appendRow(nullptr, row, this);
        const QStandardItem* entry = item(row, LevelColumn);
        for (int child = 0; child < entry->rowCount(); ++child)
            appendRow(entry, child, this);
    }
    return text;
}
