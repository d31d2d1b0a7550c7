#pragma once

#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtPlugin>

#include <functional>

class ISimpleAccessControl;

/// A plugin that makes reports about users. Found by its interface id among the modules in the plugin directories:
///
///     QPluginLoader loader(file);
///     if (auto* generator = qobject_cast<IReportGenerator*>(loader.instance())) {
///         generator->initialize(QStringLiteral("console"), model);
///         QByteArray pdf;
///         const bool made = generator->getUserReportAsPdf(userIds, &pdf);
///     }
///
/// The virtual functions' order is part of the binary interface.
class KYR_FOUNDATION_EXPORT IReportGenerator
{
public:
    /// `name` is that of the application; the model is not taken over and must live as long as reports are made.
    virtual void initialize(const QString& name, ISimpleAccessControl* accessControl) = 0;
    /// The template of the following reports, in the language of the plugin.
    virtual void setReportTemplate(const QString& templateText) = 0;
    /// Lets the user edit the template. False where the plugin cannot.
    virtual bool editReportTemplate() = 0;
    /// Makes a report and hands it to the user; `flag` asks for showing it first. False if none was made.
    virtual bool generateUserReport(const QList<CItemId>& userIds, bool flag) = 0;
    /// Makes a report as a PDF document. False if none was made; `pdf` is empty then.
    virtual bool getUserReportAsPdf(const QList<CItemId>& userIds, QByteArray* pdf) = 0;
    /// The ids of the interfaces that the plugin implements.
    virtual QStringList interfaces() const = 0;
    virtual ~IReportGenerator() = default;
};

/// What a plugin may offer beside IReportGenerator: long reports made while the event loop goes on.
///
///     if (auto* jobs = qobject_cast<IReportJobs*>(loader.instance()))
///         job = jobs->startUserReportAsPdf(userIds, this, onProgress, onFinished);
///
/// Both functions are called from the event loop, never before the start has returned.
class KYR_FOUNDATION_EXPORT IReportJobs
{
public:
    /// How many of the users are done. May come seldom or not at all.
    using Progress = std::function<void(int done, int total)>;
    /// Called once, at the end. `error` is empty on success, `pdf` otherwise.
    using Finished = std::function<void(const QByteArray& pdf, const QString& error)>;

    /// Begins a report with the model and template that the plugin has now; the model must live until the end. The
    /// object given back belongs to `parent` and deletes itself after the end; deleting it before gives the report up,
    /// and nothing is called any more.
    virtual QObject* startUserReportAsPdf(const QList<CItemId>& userIds, QObject* parent, const Progress& progress,
                                          const Finished& finished) = 0;
    virtual ~IReportJobs() = default;
};

Q_DECLARE_INTERFACE(IReportGenerator, "com.brell.Quintor.IReportGenerator/1.0")
Q_DECLARE_INTERFACE(IReportJobs, "com.brell.Quintor.IReportJobs/1.0")
