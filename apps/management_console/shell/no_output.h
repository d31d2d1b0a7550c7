#pragma once

#include "shell/local_files.h"
#include "shell/output.h"

/// Of a command that is asked what it takes, and not run.
class NoOutput : public Output
{
    void line(const QString&) override {}
    void error(const QString&) override {}
    void progress(const QString&) override {}
    bool colour() const override { return false; }
    Files& files() override { return m_files; }

    LocalFiles m_files{LocalFiles::StandardInput::Commands};
};
