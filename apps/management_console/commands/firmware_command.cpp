#include "commands/firmware_report.h"
#include "shell/command.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QTimer>

namespace {

constexpr qint64 longestFile = 0x7FFFFFFE;

class FirmwareCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override { options.addPositional(QStringLiteral("FILE")); }

    void start(AppOptions& options) override
    {
        const QString name = options.positional().constFirst();
        readFile(name, longestFile, [this, name](const QByteArray& bytes) {
            output().progress(QStringLiteral("checking %1 MB").arg(bytes.size() / 1000000));
            // After the user has seen that.
            QTimer::singleShot(0, this, [this, name, bytes] { check(name, bytes); });
        });
    }

private:
    void check(const QString& name, const QByteArray& bytes)
    {
        bool faultless = false;
        QJsonObject json;
        QString report = firmwareReport(bytes, &faultless, &json);
        while (report.endsWith(QLatin1Char('\n')))
            report.chop(1);
        if (isJson())
            output().line(QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
        else
            output().lines(report.split(QLatin1Char('\n')));
        if (!faultless)
            return fail(QStringLiteral("\"%1\" is not in order").arg(name));
        done();
    }
};

} // namespace

extern const CommandEntry firmwareCommand = {"firmware", "Checks a firmware file and shows what is in it.",
                                             &makeCommand<FirmwareCommand>, true};
