#include "commands/firmware_report.h"
#include "commands/firmware_signature.h"
#include "shell/command.h"

#include <QtCore/QTimer>

namespace {

constexpr qint64 longestFile = 0x7FFFFFFE;
constexpr qint64 longestKey = qint64(1024) * 1024; // and signature

class FirmwareCommand : public Command
{
public:
    using Command::Command;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "FILE", "shows the contents of a firmware file, and its faults", &startVerb<&FirmwareCommand::show>},
            {"sign", "FILE", "writes its signature to FILE.sig", &startVerb<&FirmwareCommand::sign>, &addSignOptions},
            {"verify", "FILE", "checks that the file has no faults and is signed by this key; exit code 1 if not",
             &startVerb<&FirmwareCommand::verify>, &addVerifyOptions},
        };
        return table;
    }

private:
    static void addSignOptions(AppOptions& options)
    {
        options.addValue(QStringLiteral("key"), QStringLiteral("FILE"),
                         QStringLiteral("private key, RSA or Ed25519, PEM without a pass phrase"));
    }
    static void addVerifyOptions(AppOptions& options)
    {
        options.addValue(QStringLiteral("key"), QStringLiteral("FILE"),
                         QStringLiteral("public key of the signer, PEM"));
        options.addValue(QStringLiteral("least-version"), QStringLiteral("N"),
                         QStringLiteral("refuse older versions, even if they are signed"));
    }

    void show(AppOptions& options)
    {
        const QString name = options.positional().constFirst();
        readFile(name, longestFile, [this, name](const QByteArray& bytes) {
            output().progress(QStringLiteral("checking %1 MB").arg(bytes.size() / 1000000));
            // After the user has seen that.
            QTimer::singleShot(0, this, [this, name, bytes] { check(name, bytes); });
        });
    }

    // The firmware first: without it no key is touched.
    void readWithKey(AppOptions& options,
                     const std::function<void(const QByteArray& bytes, const QByteArray& key)>& then)
    {
        const QString keyName = options.value(QStringLiteral("key"));
        if (keyName.isEmpty())
            return options.setError(QStringLiteral("--key is needed"));
        readFile(options.positional().constFirst(), longestFile, [this, keyName, then](const QByteArray& bytes) {
            readFile(keyName, longestKey, [bytes, then](const QByteArray& key) { then(bytes, key); });
        });
    }

    void sign(AppOptions& options)
    {
        const QString name = options.positional().constFirst();
        readWithKey(options, [this, name](const QByteArray& bytes, const QByteArray& key) {
            bool isFaultless = false;
            firmwareReport(bytes, &isFaultless);
            if (!isFaultless)
                return fail(QStringLiteral("\"%1\" has faults and was not signed (see: firmware)").arg(name));
            QString error;
            const QByteArray signature = FirmwareSignature::sign(bytes, key, error);
            if (!error.isEmpty())
                return fail(error);
            const auto content = [signature](QIODevice& file) {
                file.write(signature);
                return QString();
            };
            const QString signatureName = name + QStringLiteral(".sig");
            writeFile(signatureName, content, [this, signatureName] {
                doneWriting(signatureName, QStringLiteral("Wrote %1.").arg(signatureName));
            });
        });
    }

    void verify(AppOptions& options)
    {
        const bool hasLeast = options.isSet(QStringLiteral("least-version"));
        const int least = hasLeast ? options.number(QStringLiteral("least-version"), 0, 0x7FFFFFFF) : 0;
        if (!options.error().isEmpty())
            return;
        const QString name = options.positional().constFirst();
        readWithKey(options, [this, name, hasLeast, least](const QByteArray& bytes, const QByteArray& key) {
            output().files().read(
                name + QStringLiteral(".sig"), longestKey, this,
                [this, name, hasLeast, least, bytes, key](const QByteArray& signature, const QString& error) {
                    QString fault;
                    bool isFaultless = false;
                    if (!error.isEmpty())
                        return conclude(name, QStringLiteral("not signed: %1").arg(error));
                    if (!FirmwareSignature::verify(bytes, signature, key, fault))
                        return conclude(name, fault);
                    firmwareReport(bytes, &isFaultless);
                    if (!isFaultless)
                        return conclude(name, QStringLiteral("has faults (see: firmware)"));
                    if (hasLeast && !FirmwareSignature::isRecent(bytes, quint32(least), fault))
                        return conclude(name, fault);
                    conclude(name, QString());
                });
        });
    }

    void conclude(const QString& name, const QString& fault)
    {
        const bool isGood = fault.isEmpty();
        if (isGood || isJson())
            say(QStringLiteral("%1 has no faults and is signed by this key.").arg(name),
                {{QStringLiteral("file"), name}, {QStringLiteral("ok"), isGood}, {QStringLiteral("fault"), fault}});
        if (!isGood)
            return fail(QStringLiteral("\"%1\": %2").arg(name, fault));
        done();
    }

    void check(const QString& name, const QByteArray& bytes)
    {
        bool faultless = false;
        QJsonObject json;
        QString report = firmwareReport(bytes, &faultless, &json);
        while (report.endsWith(QLatin1Char('\n')))
            report.chop(1);
        output().lines(resultLine(report, json).split(QLatin1Char('\n')));
        if (!faultless)
            return fail(QStringLiteral("\"%1\" has faults").arg(name));
        done();
    }
};

} // namespace

extern const CommandEntry firmwareCommand = {
    "firmware", "Shows the contents of a firmware file; signs and verifies it.", &makeCommand<FirmwareCommand>, true};
