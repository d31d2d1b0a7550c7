#pragma once

#include "shell/output.h"
#include "shell/table.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <functional>

/// Shows a table that changes: on a terminal all of it anew, else a line for each row that is new or different.
class TableWatch : public QObject
{
    Q_OBJECT

public:
    static constexpr int interval = 1000; ///< between two looks, ms

    /// `view` gives the table as it is now. Its first column says which row is which; changes of the columns whose keys
    /// stand in `restless` alone are no news for those who read lines.
    TableWatch(Output& output, bool json, const std::function<Table()>& view, const QStringList& restless,
               QObject* parent);

public Q_SLOTS:
    void look();

public:
    /// What is shown stays; what comes next stands below it.
    void end();

private:
    void printChanges(const Table& table);

    Output& m_output;
    bool m_json;
    std::function<Table()> m_view;
    QStringList m_restless;
    QTimer m_timer;
    QStringList m_shown;            // lines on the terminal
    QMap<QString, QString> m_known; // what was printed of each row last
};

/// A row as a line: its titled cells that hold something.
QString rowAsLine(const Table& table, int row);

/// As many lines of a table as a terminal of so many rows shows, with its header; the first or the last ones.
QStringList fitting(const QStringList& lines, int rows, bool last);
