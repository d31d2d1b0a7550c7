#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

#include <functional>

class CSqlAccessControl;
class QIODevice;

/// Users as a CSV file: the columns of the table, then one for each further property under its name. What was written
/// and is read again changes nothing.
namespace UsersCsv {

/// The columns of the table, in their order.
struct Column
{
    const char* key; ///< of a row
    const char* title;
};
const QVector<Column>& columns();

/// Writes rows of CModelReader::users(); `guarded`: texts that a spreadsheet would take for formulas are marked, see
/// CCsvWriter::setFormulaGuard().
void write(QIODevice& file, const QList<QVariantMap>& rows, bool guarded = false);

struct Outcome
{
    int added = 0;
    int changed = 0;
    int unchanged = 0;
};

/// Brings the users of a file into the model, within a transaction of the caller's. False with an error, "line N: ..."
/// where a line is to blame: what was done until then is to be undone. A user whose id is known is changed where the
/// file says something else; an empty field takes a property away, one that a line lacks stays.
bool read(CSqlAccessControl& model, const QByteArray& bytes, const std::function<void(const QString&)>& progress,
          Outcome& outcome, QString& error);

} // namespace UsersCsv
