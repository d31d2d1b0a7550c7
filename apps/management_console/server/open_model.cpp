#include "server/open_model.h"

#include <foundation/services/access_control_mock.h>

std::unique_ptr<ISimpleAccessControl> openModel(const QString& location, QString& error)
{
    if (location.isEmpty() || location == QLatin1String("memory"))
        return std::make_unique<CAccessControlMock>();
    error = QStringLiteral("cannot open the database \"%1\": only \"memory\" is known").arg(location);
    return nullptr;
}
