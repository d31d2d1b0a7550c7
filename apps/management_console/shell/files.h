#pragma once

#include "common/save_file.h"

#include <QtCore/QObject>

#include <functional>

/// The files that a command names. They are those of whoever gave the command: a program that runs for others opens
/// none on their word, it asks them for the content. "-" is standard input or output.
class Files
{
public:
    /// Writes the content and gives what went wrong; empty when nothing did.
    using Content = std::function<QString(QIODevice& file)>;
    /// An error is a whole line, such as: cannot read "x": No such file or directory.
    using Read = std::function<void(const QByteArray& bytes, const QString& error)>;
    using Written = std::function<void(const QString& error)>;

    virtual ~Files() = default;

    /// The files of this process, which a command may also open itself.
    virtual bool areHere() const = 0;
    /// `then` is called once, at once or later; not when `receiver` has gone, which also ends the transfer. A file of
    /// more than `most` bytes is an error.
    virtual void read(const QString& name, qint64 most, QObject* receiver, const Read& then) = 0;
    /// Writes a file as a whole, or leaves what stands under that name as it was.
    virtual void write(const QString& name, OutputFile::Mode mode, const Content& content, QObject* receiver,
                       const Written& then) = 0;

    static QString tooLarge(const QString& name, qint64 most);
};
