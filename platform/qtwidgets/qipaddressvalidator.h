#pragma once

// Accepts exactly a dotted-quad IPv4 address ("192.168.1.10", octets 0..255); what can still
// become one ("192.168.1") is intermediate, anything else invalid.
// Thread: any (no state).

#include <QValidator>

class QIpAddressValidator : public QValidator
{
    Q_OBJECT

public:
    explicit QIpAddressValidator(QObject* parent = nullptr);

    State validate(QString& input, int& pos) const override;
};
