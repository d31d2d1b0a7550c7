#pragma once

#include <server/database/export.h>

#include <QtCore/QStringList>

class CMailMessage;

/// What the model needs to send mails.
class KYR_SERVER_EXPORT IModelMail
{
public:
    virtual ~IModelMail() = default;

    /// Takes a mail over: it goes to each of the addresses, also after this process has ended. False with a reason when
    /// it does not.
    virtual bool queue(const CMailMessage& message, const QStringList& addresses, QString& error) = 0;
};
