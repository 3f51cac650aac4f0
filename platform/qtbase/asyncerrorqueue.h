#pragma once

// The global queue through which code on any thread reports an error to the user: it emits
// displayError, which the main window receives on the GUI thread (queued) and shows as a message
// box by severity. Without a receiver (command-line tools, tests) the error goes to stderr.
// Thread-safe: postError from any thread.

#include <QObject>
#include <QString>

#include <atomic>

class QWidget;

class AsyncErrorQueue : public QObject
{
    Q_OBJECT

public:
    enum ErrorSeverity
    {
        Fatal = 10,
        Error = 20,
        Warning = 30,
        Information = 40,
        Verbose = 50
    };
    Q_ENUM(ErrorSeverity)

    static AsyncErrorQueue& instance();

    void postError(ErrorSeverity severity, const QString& message, const QString& details,
                   QWidget* parent = nullptr);
    // Number of errors posted so far (for tests and diagnostics).
    int postedCount() const { return m_posted.load(); }

signals:
    void displayError(AsyncErrorQueue::ErrorSeverity severity, QString message, QString details,
                      QWidget* parent);

private:
    AsyncErrorQueue();
    std::atomic<int> m_posted{0};
};

Q_DECLARE_METATYPE(AsyncErrorQueue::ErrorSeverity)
