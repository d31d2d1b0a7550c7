#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

/// What a firmware file holds, part by part, and what is wrong with it and where; for a terminal, lines end in LF.
/// `faultless`, which may be null, tells whether all parts are valid and nothing stands behind them. The report stays
/// short and free of control characters whatever the file holds.
/// `json`, which may be null, gets the same for programs: "faultless", and "parts", a list of objects with "offset",
/// "headerValid", "dataValid", "dataBegin", "dataEnd", "headerArchitecture", "dataArchitecture", "fields" (an object:
/// lists by their tags), "packages" (objects with "name", "begin", "end", "size") and "faults" (objects with "offset",
/// "text"); faults of the whole file stand in "faults" beside the parts.
QString firmwareReport(const QByteArray& file, bool* faultless = nullptr, QJsonObject* json = nullptr);
