#include "app/myapplication.h"

#include "genapi/genicamexception.h"

#include <QEvent>
#include <QString>

#include <exception>

namespace {

void reportException(const QEvent* event, const QString& info)
{
    if (event)
        qWarning("%s", qPrintable(QString("An unexpected exception occurred in an event handler "
                                          "(id=%1).")
                                      .arg(int(event->type()))));
    else
        qWarning("An unexpected exception occurred in an event handler.");
    if (!info.isEmpty())
        qWarning("Additional info: '%s'", qPrintable(info));
}

} // namespace

MyApplication::MyApplication(int& argc, char** argv) : QApplication(argc, argv) {}

bool MyApplication::notify(QObject* receiver, QEvent* event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const GenICam::GenericException& e) {
        reportException(event, QString::fromUtf8(e.GetDescription()));
    } catch (const std::exception& e) {
        reportException(event, QString::fromUtf8(e.what()));
    } catch (...) {
        reportException(event, QString());
    }
    return false;
}
