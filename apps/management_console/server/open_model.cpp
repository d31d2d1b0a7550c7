#include "server/open_model.h"

#include <server/model/sql_access_control.h>

#include <QtCore/QDir>

QString defaultDatabase()
{
    return QDir::cleanPath(CDatabase::defaultFolder() + QLatin1String("/installation.db"));
}

std::unique_ptr<CSqlAccessControl> openModel(const QString& location, QString& error)
{
    auto model = std::make_unique<CSqlAccessControl>();
    if (model->open(location))
        return model;
    error = QStringLiteral("cannot open the installation: %1").arg(model->errorString());
    return nullptr;
}
