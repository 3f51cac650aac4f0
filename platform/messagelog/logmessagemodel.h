#pragma once

// The rows of the message log: level, time, source, message; the level cell keeps the message's
// id, and messages that complete an earlier entry become child rows of it.
// Thread: GUI only.

#include "messagelog/loglevel.h"

#include <QDateTime>
#include <QStandardItemModel>

class LogMessageModel : public QStandardItemModel
{
    Q_OBJECT

public:
    enum Column
    {
        LevelColumn,
        TimeColumn,
        SourceColumn,
        MessageColumn
    };
    static constexpr int IdRole = Qt::UserRole + 1;

    explicit LogMessageModel(QObject* parent = nullptr);

    // "Debug", "Information", "Warning", "Error", "Critical", or "NONE" for other values.
    static QString levelText(int level);
    static QString levelAccessibleText(int level);

    // The four items of one message row.
    QList<QStandardItem*> makeRow(int level, const QDateTime& timestamp, const QString& source,
                                  const QString& message, int id) const;
    // The top-level row that carries `id`, or -1.
    int rowOfId(int id) const;
    // "Type\tTime\tSource\tMessage\n" then one line per row ("\r\n"), children after their
    // entry; only `rows` when given.
    QString toText(const QList<int>& rows = QList<int>()) const;
};
