#include "save_file.h"

#include <QtCore/QFileInfo>

OutputFile::OutputFile(const QString& name, Mode mode)
    : m_name(name)
    , m_mode(mode)
    , m_whole(name)
    , m_piecemeal(name)
{
}

QFileDevice& OutputFile::file()
{
    return m_isWhole ? static_cast<QFileDevice&>(m_whole) : m_piecemeal;
}

QIODevice& OutputFile::device()
{
    return file();
}

bool OutputFile::refuse(const QString& reason, QString& error) const
{
    error = QStringLiteral("cannot write \"%1\": %2").arg(m_name, reason);
    return false;
}

bool OutputFile::open(QString& error)
{
    constexpr int standardOutput = 1;
    const bool isStandardOutput = m_name == QLatin1String("-");
    const QFileInfo info(m_name);
    m_isWhole = !isStandardOutput && (info.isFile() || !info.exists());
    if (m_mode == Mode::New && !isStandardOutput && info.exists())
        return refuse(QStringLiteral("it already exists"), error);
    const bool isOpen = isStandardOutput
                            ? m_piecemeal.open(standardOutput, QIODevice::WriteOnly, QFileDevice::DontCloseHandle)
                            : file().open(QIODevice::WriteOnly);
    if (isOpen && m_mode == Mode::New && m_isWhole)
        m_whole.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    return isOpen || refuse(file().errorString(), error);
}

bool OutputFile::commit(QString& error)
{
    // QSaveFile::commit() alone does not look whether what was buffered could be written.
    const bool isWritten = file().error() == QFileDevice::NoError && file().flush() && (!m_isWhole || m_whole.commit());
    return isWritten || refuse(file().errorString(), error);
}

bool saveFile(const QString& name, const std::function<void(QIODevice&)>& write, QString& error)
{
    OutputFile file(name);
    if (!file.open(error))
        return false;
    write(file.device());
    return file.commit(error);
}
