#pragma once

// The message log dock: one row per message, newest first. It registers itself as the log's
// receiver; any thread logs through postLogMessage (here, or TarpoViewer::postLogMessage in the
// layers below), which hands the message to the window on the GUI thread.
// Thread-safe: postLogMessage from any thread; everything else GUI only.

#include "messagelog/loglevel.h"
#include "messagelog/logmessagemodel.h"
#include "messagelog/messagelog.h"

#include <QDateTime>
#include <QDockWidget>

class QTreeView;

class LogWindow : public QDockWidget
{
    Q_OBJECT

public:
    explicit LogWindow(const QString& title, QWidget* parent = nullptr,
                       Qt::WindowFlags flags = Qt::WindowFlags());
    ~LogWindow() override;

    // Returns the new message's id, or 0 when no log window exists.
    static int postLogMessage(TarpoViewer::LogLevel level, const QString& source,
                              const QString& message, const QDateTime& timestamp = QDateTime());
    // Completes the earlier entry `existingId` with this message.
    static int postLogMessage(TarpoViewer::LogLevel level, const QString& source,
                              const QString& message, int existingId,
                              const QDateTime& timestamp = QDateTime());

    LogMessageModel* model() const { return m_model; }
    QTreeView* view() const { return m_view; }
    int maxLogMessages() const { return m_maxLogMessages; }

public slots:
    void onLogMessage(TarpoViewer::LogLevel logType, QDateTime timestamp, const QString& source,
                      const QString& message, int newID, int existingID);
    void onClearAll();
    void onClearSelected();
    void onCopyAll();
    void onCopySelected();

private:
    LogMessageModel* m_model;
    QTreeView* m_view;
    int m_maxLogMessages = 200;
    int m_count = 0; // top-level rows
};
