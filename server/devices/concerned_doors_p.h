#pragma once

#include <QtCore/QSet>

class CDatabase;

/// Adds the doors at which users, groups, or the owners of media and codes, have rights now, by their own or by a
/// group. False when not all could be read.
bool addConcernedDoors(CDatabase* database, const QSet<qint64>& items, QSet<qint64>* doors);
