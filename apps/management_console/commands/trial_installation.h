#pragma once

#include <QtCore/QString>

#include <functional>

class CSqlAccessControl;

/// An installation to try things with: the same numbers make the same one in an empty database.
struct TrialInstallation
{
    int users = 1000;
    int doors = 20;
    int groups = 10;

    /// Adds users of ten properties with a card each, doors, and groups with rights at the doors, within a transaction
    /// of the caller's. False when the model refuses something.
    bool add(CSqlAccessControl& model, const std::function<void(const QString&)>& progress) const;
};
