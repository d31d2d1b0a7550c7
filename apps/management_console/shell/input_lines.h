#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>

class CStandardIOHandler;

/// Standard input line by line, for a command that reads it. Nothing is read before the first line is wanted.
class InputLines : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~InputLines() override;

    /// lineRead() or ended() follows, once.
    void want();

Q_SIGNALS:
    void lineRead(const QString& line);
    void ended();

private:
    QPointer<CStandardIOHandler> m_channel; // deletes itself when it was stopped
    bool m_started = false;
    bool m_ended = false;
};
