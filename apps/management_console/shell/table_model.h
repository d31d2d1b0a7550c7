#pragma once

#include "shell/table.h"

#include <QtCore/QAbstractTableModel>

/// A table as a model, for those who read models. The table must outlive it.
class TableModel : public QAbstractTableModel
{
public:
    explicit TableModel(const Table& table)
        : m_table(table)
    {
    }

    int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : m_table.rowCount(); }
    int columnCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : m_table.columnCount(); }

    QVariant data(const QModelIndex& index, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(m_table.text(index.row(), index.column())) : QVariant();
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        return orientation == Qt::Horizontal && role == Qt::DisplayRole ? QVariant(m_table.title(section)) : QVariant();
    }

private:
    const Table& m_table;
};
