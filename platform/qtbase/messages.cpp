#include "qtbase/messages.h"

#include "qtbase/asyncerrorqueue.h"

void showException(const GenICam::GenericException& e, const QString& source,
                   const QString& message, QWidget* parent)
{
    AsyncErrorQueue::instance().postError(AsyncErrorQueue::Error, message,
                                          source + ": " + QString::fromUtf8(e.GetDescription()),
                                          parent);
}

void showException(const std::exception& e, const QString& source, const QString& message,
                   QWidget* parent)
{
    AsyncErrorQueue::instance().postError(AsyncErrorQueue::Error, message,
                                          source + ": " + QString::fromUtf8(e.what()), parent);
}

QString unspecifiedExceptionText(const QString& source)
{
    return QString("%1: Unspecified exception occurred.").arg(source);
}

void showUnexpectedException(const QString& source, const QString& message, QWidget* parent)
{
    AsyncErrorQueue::instance().postError(AsyncErrorQueue::Error, message,
                                          unspecifiedExceptionText(source), parent);
}

void showWarningMessage(const QString& source, const QString& message, QWidget* parent)
{
    AsyncErrorQueue::instance().postError(AsyncErrorQueue::Warning, message, source, parent);
}

void showCriticalMessage(const QString& source, const QString& message, QWidget* parent)
{
    AsyncErrorQueue::instance().postError(AsyncErrorQueue::Error, message, source, parent);
}
