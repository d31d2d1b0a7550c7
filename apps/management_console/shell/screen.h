#pragma once

#include "shell/pager.h"

#include <QtCore/QObject>
#include <QtCore/QStringList>

class CAbstractCli;

/// What one user sees: lines of results and errors; at a terminal also a live text at the bottom that is written over
/// (progress, a table that is watched), and long tables page by page.
class Screen : public QObject
{
    Q_OBJECT

public:
    /// Writes through the interpreter's channel. `prompt` is shown anew behind news while a line is waited for, where
    /// the channel does not do it itself.
    Screen(CAbstractCli& cli, const QString& prompt);

    void line(const QString& text);
    void error(const QString& text);
    /// What nobody asked for: above the live text. `isWaiting`: a line is waited for.
    void news(const QString& text, bool isWaiting);

    /// Takes the place of the live text; nothing takes it away.
    void progress(const QString& text);
    /// Takes the place of the live text, as far as the screen has room; nothing leaves it where it is.
    void redraw(const QStringList& texts);

    /// A table of a program that ends after it: page by page when it is longer than the screen. What is written
    /// meanwhile comes after it.
    void page(const QStringList& texts);
    bool isPaging() const { return m_pager.isRunning(); }
    void stopPaging() { m_pager.stop(); }

Q_SIGNALS:
    void paged();

private:
    void write(const QString& text, bool isError);
    void show(const QStringList& texts);
    void showAgain();
    void clear();

    struct Held
    {
        QString text;
        bool isError;
    };

    CAbstractCli& m_cli;
    QString m_prompt;
    Pager m_pager;
    QVector<Held> m_held;
    QStringList m_live;
};
