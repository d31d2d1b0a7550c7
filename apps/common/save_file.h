#pragma once

#include <QtCore/QString>

#include <functional>

class QIODevice;

/// Writes a file as a whole, or leaves what stands under that name as it was. A pipe, terminal or device is written to:
/// a file in its place would be its end. False with an error.
bool saveFile(const QString& name, const std::function<void(QIODevice&)>& write, QString& error);
