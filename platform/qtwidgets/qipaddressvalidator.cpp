#include "qtwidgets/qipaddressvalidator.h"

#include <QStringList>

QIpAddressValidator::QIpAddressValidator(QObject* parent) : QValidator(parent) {}

QValidator::State QIpAddressValidator::validate(QString& input, int&) const
{
    const QStringList octets = input.split('.');
    if (octets.size() > 4)
        return Invalid;
    bool complete = octets.size() == 4;
    for (const QString& octet : octets) {
        if (octet.isEmpty()) {
            complete = false;
            continue;
        }
        if (octet.size() > 3)
            return Invalid;
        for (const QChar c : octet)
            if (!c.isDigit())
                return Invalid;
        if (octet.toInt() > 255)
            return Invalid;
        // "01" is no octet anyone types on purpose, and inet_pton refuses it too.
        if (octet.size() > 1 && octet.startsWith('0'))
            return Invalid;
    }
    return complete ? Acceptable : Intermediate;
}
