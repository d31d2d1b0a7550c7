#include "server/open_model.h"

#include <foundation/core/environment_variable.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>

QString defaultDatabase()
{
    // The service manager tells a service its folder by this variable; of several the first is meant.
    const QString state = CEnvironmentVariable::valueTrimmed("STATE_DIRECTORY")
                              .section(QLatin1Char(':'), 0, 0, QString::SectionSkipEmpty);
    const QString folder =
        state.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QLatin1String("/kyr")
                        : state;
    return QDir::cleanPath(folder + QLatin1String("/installation.db"));
}

std::unique_ptr<CSqlAccessControl> openModel(const QString& location, QString& error)
{
    auto model = std::make_unique<CSqlAccessControl>();
    if (model->open(location))
        return model;
    error = QStringLiteral("cannot open the installation: %1").arg(model->errorString());
    return nullptr;
}
