#pragma once

#include <QtCore/QByteArray>

/// The keys of a terminal as bytes, and as the library that edits lines knows them.
namespace LineKeys {

constexpr char ctrlC = 3;
constexpr char ctrlD = 4;
constexpr char ctrlG = 7;
constexpr char backspace = 8;
constexpr char ctrlR = 18;
constexpr char ctrlU = 21;
constexpr char escape = 27;
constexpr char rubout = 127;

bool isControl(char byte);
/// Takes the first key: one control character, an escape sequence, or characters that are inserted. Empty as long as
/// its rest has not come.
QByteArray take(QByteArray& bytes);
/// The key as the library knows it; empty when it means nothing.
QByteArray known(const QByteArray& key);

} // namespace LineKeys
