#pragma once

#include <QtCore/QString>

#include <memory>

class CLocalSocketCliIO;

/// A local socket on which a tool takes commands, listening already. Null with an error when another program answers
/// under that name, which would lose its clients, or when the system refuses it.
std::unique_ptr<CLocalSocketCliIO> openCommandSocket(const QString& name, QString& error);
