#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// What a firmware file holds, part by part, and what is wrong with it and where; for a terminal, lines end in LF.
/// `faultless`, which may be null, tells whether all parts are valid and nothing stands behind them. The report stays
/// short and free of control characters whatever the file holds.
QString firmwareReport(const QByteArray& file, bool* faultless = nullptr);
