#pragma once

#include "shell/files.h"

/// The files of this process.
class LocalFiles : public Files
{
public:
    /// Whether standard input may be read as a file, or is where the commands come from.
    enum class StandardInput
    {
        Free,
        Commands
    };

    explicit LocalFiles(StandardInput input)
        : m_input(input)
    {
    }

    bool areHere() const override { return true; }
    void read(const QString& name, qint64 most, QObject* receiver, const Read& then) override;
    void write(const QString& name, OutputFile::Mode mode, const Content& content, QObject* receiver,
               const Written& then) override;

private:
    StandardInput m_input;
};
