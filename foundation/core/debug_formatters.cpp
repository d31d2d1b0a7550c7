#include <foundation/core/debug.h>

#include <QtCore/QAbstractItemModel>
#include <QtCore/QMetaMethod>

// The half of CDebug that looks into objects; the log output itself stands in debug.cpp.

namespace {

QString typeText(const QVariant& value)
{
    return value.isValid() ? QLatin1Char('(') + QLatin1String(value.typeName()) + QLatin1Char(')')
                           : QStringLiteral("(invalid)");
}

QString containerTypeText(const QVariant& value, int count)
{
    return typeText(value) + QLatin1Char('[') + QString::number(count) + QLatin1Char(']');
}

void addMap(QString& text, const QVariantMap& map, const QString& indent);
void addList(QString& text, const QVariantList& list, const QString& indent);

bool isNested(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap || value.userType() == QMetaType::QVariantList;
}

// The type of a nested value, then its entries one level deeper.
void addNested(QString& text, const QVariant& value, const QString& indent)
{
    if (value.userType() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        text += containerTypeText(value, static_cast<int>(map.size())) + QLatin1Char('\n');
        addMap(text, map, indent);
    } else {
        const QVariantList list = value.toList();
        text += containerTypeText(value, static_cast<int>(list.size())) + QLatin1Char('\n');
        addList(text, list, indent);
    }
}

// 'text' (type), as far as the value has a text.
QString annotated(const QVariant& value)
{
    if (value.userType() == QMetaType::QStringList) {
        const QStringList items = value.toStringList();
        return QLatin1Char('\'') + items.join(QLatin1String("', '")) + QLatin1Char('\'')
               + containerTypeText(value, static_cast<int>(items.size()));
    }
    if (value.canConvert<QString>())
        return QLatin1Char('\'') + value.toString() + QLatin1String("' ") + typeText(value);
    return typeText(value);
}

void addMap(QString& text, const QVariantMap& map, const QString& indent)
{
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        if (isNested(entry.value())) {
            text += indent + QLatin1Char('[') + entry.key() + QLatin1String("] ");
            addNested(text, entry.value(), indent + QLatin1String("  "));
        } else {
            text += indent + QLatin1Char('\'') + entry.key() + QLatin1String("' ") + annotated(entry.value())
                    + QLatin1Char('\n');
        }
    }
}

void addList(QString& text, const QVariantList& list, const QString& indent)
{
    for (const QVariant& element : list) {
        text += indent + QLatin1String("- ");
        if (isNested(element))
            addNested(text, element, indent + QLatin1String("  "));
        else
            text += annotated(element) + QLatin1Char('\n');
    }
}

QString withoutLineFeedsAtEnd(QString text)
{
    auto size = text.size();
    while (size > 0 && text.at(size - 1) == QLatin1Char('\n'))
        --size;
    text.truncate(size);
    return text;
}

QString displayText(const QModelIndex& index)
{
    const QVariant display = index.data(Qt::DisplayRole);
    if (display.isValid())
        return display.toString();
    const QVariant checkState = index.data(Qt::CheckStateRole);
    if (checkState.isValid()) {
        switch (checkState.toInt()) {
        case Qt::Unchecked:
            return QStringLiteral("Unchecked");
        case Qt::PartiallyChecked:
            return QStringLiteral("PartiallyChecked");
        case Qt::Checked:
            return QStringLiteral("Checked");
        }
    }
    return QStringLiteral("invalid");
}

void dumpChildren(const QAbstractItemModel& model, const QModelIndex& parent, int depth)
{
    const int rows = model.rowCount(parent);
    const int columns = model.columnCount(parent);
    for (int row = 0; row < rows; ++row) {
        QString line = QString(depth, QLatin1Char(' ')) + QString::number(row) + QLatin1Char(':');
        QList<QModelIndex> parents;
        for (int column = 0; column < columns; ++column) {
            const QModelIndex index = model.index(row, column, parent);
            const bool hasChildren = model.hasChildren(index);
            if (hasChildren)
                parents += index;
            line += QLatin1String(column > 0 ? "," : "") + QLatin1String(hasChildren ? "p" : "")
                    + QString::number(column) + QLatin1Char(':') + displayText(index);
        }
        qDebug("%s", qUtf8Printable(line));
        for (const QModelIndex& index : qAsConst(parents))
            dumpChildren(model, index, depth + 1);
    }
}

} // namespace

QString CDebug::objectNameWithParents(QObject* object, int depth)
{
    QString result;
    for (; object && depth >= 0; object = object->parent(), --depth) {
        const QString name = object->objectName();
        const QString shown = name.isEmpty() ? QString::fromUtf8(object->metaObject()->className()) : name;
        if (shown.isEmpty())
            continue;
        if (!result.isEmpty())
            result += QLatin1String("<-");
        result += shown;
    }
    return result;
}

QString CDebug::toString(const QVariantMap& map, const QString& indent)
{
    QString text;
    addMap(text, map, indent);
    return withoutLineFeedsAtEnd(text);
}

QString CDebug::toString(const QVariantList& list, const QString& indent)
{
    QString text;
    addList(text, list, indent);
    return withoutLineFeedsAtEnd(text);
}

void CDebug::dumpModel(const QAbstractItemModel& model)
{
    const QString name = model.objectName();
    qDebug("Model for %s", name.isEmpty() ? model.metaObject()->className() : qUtf8Printable(name));
    dumpChildren(model, QModelIndex(), 0);
}

CSignalEmissionDumper::CSignalEmissionDumper(QObject* parent)
    : QObject(parent)
{
}

void CSignalEmissionDumper::connectObject(QObject* object)
{
    if (!object)
        return;
    const QMetaObject* meta = object->metaObject();
    for (int i = 0; i < meta->methodCount(); ++i) {
        const QByteArray signature = meta->method(i).methodSignature();
        // Known only at run time, so by name.
        if (meta->indexOfSignal(signature.constData()) != -1)
            connect(object, QByteArray(signature).prepend('2').constData(), this, SLOT(printSignal()));
    }
}

void CSignalEmissionDumper::printSignal()
{
    const QObject* object = sender();
    const int index = senderSignalIndex();
    if (!object || index < 0)
        return;
    const QString name = object->objectName();
    qDebug("SIGNAL OUT %s::%s %s", object->metaObject()->className(), name.isEmpty() ? "unnamed" : qUtf8Printable(name),
           object->metaObject()->method(index).methodSignature().constData());
}
