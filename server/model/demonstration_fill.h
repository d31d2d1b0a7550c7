#pragma once

#include <server/database/export.h>

#include <QtCore/QString>

#include <functional>

class CSqlAccessControl;

/// Makes a large installation for trials, the same one each time: doors in buildings, groups with rights at doors,
/// users in groups, each with ten properties and a card.
///
///     CDemonstrationFill fill;
///     fill.users = 100000;
///     QString errorString;
///     if (!fill.run(&model, &errorString))
///         return fail(errorString);
///
/// One in eight users is of the department "IT"; user N (counted from 1) has the "Personnel Number" N.
struct KYR_SERVER_EXPORT CDemonstrationFill
{
    int users = 1000;
    int doors = 20;
    int groups = 10;
    /// What a user, and a group, is member of and has rights at; less where there are fewer.
    int groupsOfUser = 2;
    int doorsOfGroup = 10;
    /// Called now and then with how many users are made, from within run().
    std::function<void(int made)> progress;

    /// All or nothing: false with the reason in *errorString, which must not be null. Refused for an installation that
    /// has users, doors or groups.
    bool run(CSqlAccessControl* model, QString* errorString) const;

private:
    bool fillIn(CSqlAccessControl* model) const;
};
