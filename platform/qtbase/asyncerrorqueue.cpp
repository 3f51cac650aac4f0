#include "qtbase/asyncerrorqueue.h"

#include <QMetaMethod>
#include <QWidget>

#include <cstdio>

AsyncErrorQueue::AsyncErrorQueue()
{
    qRegisterMetaType<AsyncErrorQueue::ErrorSeverity>("AsyncErrorQueue::ErrorSeverity");
    qRegisterMetaType<QWidget*>("QWidget*");
}

AsyncErrorQueue& AsyncErrorQueue::instance()
{
    static AsyncErrorQueue queue;
    return queue;
}

void AsyncErrorQueue::postError(ErrorSeverity severity, const QString& message,
                                const QString& details, QWidget* parent)
{
    ++m_posted;
    if (isSignalConnected(QMetaMethod::fromSignal(&AsyncErrorQueue::displayError))) {
        emit displayError(severity, message, details, parent);
        return;
    }
    const QByteArray text = details.isEmpty() ? message.toLocal8Bit()
                                              : (message + " (" + details + ")").toLocal8Bit();
    std::fprintf(stderr, "%s\n", text.constData());
}
