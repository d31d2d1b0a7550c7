#pragma once

#include <server/model/demonstration_fill.h>
#include <server/model/sql_access_control.h>

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <vector>

/// What the model is measured with, over whichever database.

/// Opens a new installation there and fills it; throws where that fails.
inline void makeInstallation(CSqlAccessControl& model, const QString& location, const CDemonstrationFill& fill)
{
    QString error;
    if (!model.open(location) || !fill.run(&model, &error))
        throw std::runtime_error(QString(model.errorString() + error).toStdString());
}

/// With so many users, and what belongs to them.
inline void makeInstallation(CSqlAccessControl& model, const QString& location, int users)
{
    CDemonstrationFill fill;
    fill.users = users;
    fill.doors = 200;
    fill.groups = 50;
    makeInstallation(model, location, fill);
}

/// From one user to another, all over the installation; counted from 0, where personnel numbers begin with 1.
inline int nextUser(int number, int users)
{
    constexpr int stride = 7919; // a prime
    return (number + stride) % users;
}

inline std::vector<CItemId> someUsers(const CSqlAccessControl& model)
{
    std::vector<CItemId> ids;
    for (const char* department : {"IT", "Sales"}) {
        const QVariantList found =
            model.getModel(QStringLiteral("UsersGroups"), {{QStringLiteral("Department"), QLatin1String(department)}},
                           {QStringLiteral("id")});
        for (const QVariant& user : found)
            ids.push_back(user.toMap().value(QStringLiteral("id")).toLongLong());
    }
    return ids;
}

/// Measures looking for one user by a property.
inline void findUsers(benchmark::State& state, const CSqlAccessControl& model, int users)
{
    int number = 0;
    for (auto _ : state) {
        number = nextUser(number, users);
        benchmark::DoNotOptimize(model.getUser({{QStringLiteral("Personnel Number"), 1 + number}}));
    }
}

/// Measures reading one property of a user.
inline void readProperties(benchmark::State& state, const CSqlAccessControl& model)
{
    const std::vector<CItemId> ids = someUsers(model);
    size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(model.getUserProperty(QStringLiteral("Email"), ids[(i += 31) % ids.size()]));
}
