#include "shell/local_files.h"

#include <QtCore/QSocketNotifier>

#include <array>
#include <cerrno>

#ifdef Q_OS_WIN
#    include <io.h>
#else
#    include <unistd.h>
#endif

namespace {

constexpr int standardInput = 0;

QString cannotRead(const QString& name, const QString& reason)
{
    return QStringLiteral("cannot read \"%1\": %2").arg(name, reason);
}

// Reads standard input to its end while the event loop goes on. A child of its receiver, with which it goes.
class InputReader : public QObject
{
public:
    InputReader(qint64 most, QObject* receiver, Files::Read then)
        : QObject(receiver)
        , m_notifier(standardInput, QSocketNotifier::Read)
        , m_most(most)
        , m_then(std::move(then))
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, &InputReader::onReadable);
    }

private:
    void onReadable()
    {
        std::array<char, 65536> piece{};
        const auto count = ::read(standardInput, piece.data(), piece.size());
        if (count > 0)
            m_bytes.append(piece.data(), int(count));
        if (count > 0 && m_bytes.size() <= m_most)
            return;
        m_notifier.setEnabled(false);
        deleteLater();
        if (count < 0)
            m_then({}, cannotRead(QStringLiteral("-"), qt_error_string(errno)));
        else if (count > 0)
            m_then({}, Files::tooLarge(QStringLiteral("-"), m_most));
        else
            m_then(m_bytes, QString());
    }

    QSocketNotifier m_notifier;
    qint64 m_most;
    Files::Read m_then;
    QByteArray m_bytes;
};

} // namespace

QString Files::tooLarge(const QString& name, qint64 most)
{
    constexpr qint64 mebi = qint64(1024) * 1024;
    return most < mebi ? QStringLiteral("\"%1\" is larger than %2 bytes").arg(name).arg(most)
                       : QStringLiteral("\"%1\" is larger than %2 MiB").arg(name).arg(most / mebi);
}

void LocalFiles::read(const QString& name, qint64 most, QObject* receiver, const Read& then)
{
    if (name == QLatin1String("-")) {
        if (m_input == StandardInput::Commands)
            return then({}, cannotRead(name, QStringLiteral("standard input already holds the commands")));
        new InputReader(most, receiver, then);
        return;
    }
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return then({}, cannotRead(name, file.errorString()));
    const QByteArray bytes = file.size() > most ? QByteArray() : file.read(most + 1);
    if (file.error() != QFileDevice::NoError)
        return then({}, cannotRead(name, file.errorString()));
    if (file.size() > most || bytes.size() > most)
        return then({}, tooLarge(name, most));
    then(bytes, QString());
}

void LocalFiles::write(const QString& name, OutputFile::Mode mode, const Content& content, QObject*,
                       const Written& then)
{
    OutputFile file(name, mode);
    QString error;
    if (file.open(error)) {
        error = content(file.device());
        if (error.isEmpty())
            file.commit(error);
    }
    then(error);
}
