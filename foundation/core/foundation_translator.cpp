#include <foundation/core/foundation_translator.h>

#include <QtCore/QDir>

namespace {

const QLatin1String folder(":/translations");
const QLatin1String prefix("foundation_");

} // namespace

CFoundationTranslator::CFoundationTranslator(QObject* parent)
    : QTranslator(parent)
{
}

CFoundationTranslator::~CFoundationTranslator() = default;

QStringList CFoundationTranslator::languages()
{
    QStringList result;
    const QStringList files =
        QDir(folder).entryList({QString(prefix + QLatin1String("*.qm"))}, QDir::Files, QDir::Name);
    for (const QString& file : files)
        result << file.section(QLatin1Char('_'), 1).section(QLatin1Char('.'), 0, 0);
    return result;
}

bool CFoundationTranslator::setLanguage(const QString& language)
{
    // Without a catalogue of that very name Qt goes on with the part before the last delimiter.
    return load(QString(prefix + language), folder, QStringLiteral("_-."));
}
