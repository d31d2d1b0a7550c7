#include "server/open_model.h"

#include <server/model/sql_access_control.h>

#include <QtCore/QDir>

QString defaultDatabase()
{
    return QDir::cleanPath(CDatabase::defaultFolder() + QLatin1String("/installation.db"));
}

std::unique_ptr<CSqlAccessControl> openModel(const QString& location, const QString& authority, QString& error)
{
    auto model = std::make_unique<CSqlAccessControl>();
    model->database()->setAuthority(authority);
    if (model->open(location))
        return model;
    error = QStringLiteral("cannot open the installation: %1").arg(model->errorString());
    return nullptr;
}
