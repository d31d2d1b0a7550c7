#pragma once

#include "commands/item_names.h"
#include "shell/arguments.h"
#include "shell/command.h"

#include <server/devices/door_lag.h>
#include <server/model/model_reader.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>

#include <functional>

/// A command on the installation.
class ModelCommand : public Command
{
public:
    using Command::Command;

protected:
    /// The item that a name stands for. False when there is none (the command has failed with `unknownCode`) or several
    /// (it was called wrongly): each candidate is told.
    bool find(Named kind, const QString& name, CItemId& id, int unknownCode = 1);
    /// The same for several, each once.
    bool findAll(Named kind, const QStringList& names, QList<CItemId>& ids, int unknownCode = 1);

    /// KEY=VALUE as properties; a value that is empty is to be taken away, and so an invalid one here. False with a
    /// mistake in `options`.
    bool readProperties(const QStringList& words, QVariantMap& properties, AppOptions& options);

    /// Which rows a list is asked for, by ListOptions. False with a mistake in `options`.
    bool readQuery(AppOptions& options, CModelReader::Query& query);
    using Read = std::function<CModelReader::Page(const CModelReader& reader)>;
    /// Reads rows. False when not all could be read: the command has failed with the reason.
    bool read(const Read& reading, CModelReader::Page& page);
    /// Shows them under the columns, by their keys, says what a limit left out, and ends the command. An empty
    /// installation says how to begin.
    void show(Table table, const CModelReader::Page& page);
    /// Orders rows as --sort says. False with a mistake.
    bool sortRows(const Table& table, QList<QVariantMap>& rows, QString& mistake) const;
    void tellLeftOut(const CModelReader::Page& page);

    /// For a change that takes something away: the doors at which these users, groups, media or codes have rights, or
    /// that are these, should go by it at once. change() waits up to takingMs until they do, and names each door that
    /// does not.
    void watchDoors(const QList<CItemId>& items);
    static constexpr int takingMs = 2000;

    /// Runs changes as one and ends the command: with `result`, lines of output, when they are stored; else with the
    /// model's reason.
    void change(const std::function<bool(CSqlAccessControl& model)>& work, const QStringList* result = nullptr);
    /// A change has failed only because another program is changing the installation, and this command is given up for
    /// one that tries it again.
    bool isHeldUp();

    /// What is changed stays so: the doors are not waited for any longer.
    void cancel() override;

private:
    void lookAtDoors();
    void nameDoorsBehind();

    std::unique_ptr<CDoorLag> m_lag;
    QElapsedTimer m_sinceChange;
    QTimer m_lookTimer;
    bool m_isLastLook = false;
};

/// Commands that enter somebody who may pass a door, to learn from.
QStringList firstSteps();

/// A value of a row as tables show it: an instant with its offset, an id as text, a flag as it is.
QVariant shownValue(const QVariant& value);
