#include "save_file.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

bool saveFile(const QString& name, const std::function<void(QIODevice&)>& write, QString& error)
{
    QSaveFile whole(name);
    QFile piecemeal(name);
    const QFileInfo info(name);
    const bool isWhole = info.isFile() || !info.exists();
    QFileDevice& file = isWhole ? static_cast<QFileDevice&>(whole) : piecemeal;
    bool written = file.open(QIODevice::WriteOnly);
    if (written) {
        write(file);
        // commit() alone does not look whether what was buffered could be written.
        written = file.error() == QFileDevice::NoError && file.flush() && (!isWhole || whole.commit());
    }
    if (!written)
        error = QStringLiteral("cannot write \"%1\": %2").arg(name, file.errorString());
    return written;
}
