// Keeps users in an installation's file: keep_users FILE LABEL... adds each label, and prints who is there.
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QStringList labels = QCoreApplication::arguments().mid(1);
    CSqlAccessControl model;
    if (labels.isEmpty() || !model.open(labels.takeFirst())) {
        std::fprintf(stderr, "%s\n", qPrintable(model.errorString()));
        return 1;
    }
    // All or none of them.
    model.beginTransaction(QStringLiteral("keep_users"));
    for (const QString& label : labels)
        model.createUser({{QStringLiteral("label"), label}});
    model.endTransaction();
    if (!model.errorString().isEmpty())
        return 1;
    const auto page = CModelReader(&model).users({});
    for (const QVariantMap& user : page.rows)
        std::printf("%lld %s\n", user.value(QStringLiteral("id")).toLongLong(),
                    qUtf8Printable(user.value(QStringLiteral("label")).toString()));
    return 0;
}
