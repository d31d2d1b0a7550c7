#pragma once

#include <QtCore/QObject>

#include <memory>

class CAccessControlMock;
class CScriptService;
class Console;
class DeviceServer;

/// What the commands of one console share: the way out for their text, and what lives longer than a command.
class Session : public QObject
{
    Q_OBJECT

public:
    explicit Session(Console* console);
    ~Session() override;

    /// A line of a command's result.
    void line(const QString& text);
    void lines(const QStringList& texts);
    /// What went wrong, in one line.
    void error(const QString& text);
    /// News that no command asked for; on a terminal the prompt is put back below it.
    void news(const QString& text);
    /// How far a long command has come. Shown on a terminal only, in one line that is written over.
    void progress(const QString& text);
    bool colour() const;

    /// The server that goes on in the background, or null. While there is one the program does not end with its only
    /// command, and who comes and goes is told.
    DeviceServer* server() const { return m_server.get(); }
    void setServer(std::unique_ptr<DeviceServer> server);

    /// The installation in memory, made when it is first asked for.
    CAccessControlMock& model();
    /// The same as scripts see it.
    CScriptService& scripts();

    void quit();

private:
    Console* m_console;
    std::unique_ptr<CAccessControlMock> m_model;
    std::unique_ptr<CScriptService> m_scripts;
    std::unique_ptr<DeviceServer> m_server;
};

/// The name of a device type from the catalog.
QString deviceTypeName(int type);
