#pragma once

#include <foundation/services/report_generator.h>

#include <QtCore/QObject>

class CBaseReportServer;

/// What report plugins have in common: the name and the source of the users' data. It makes no reports by itself; a
/// plugin derives from it, adds Q_PLUGIN_METADATA with the interface's id and overrides what it can do.
class KYR_FOUNDATION_EXPORT CBaseReportPlugin : public QObject, public IReportGenerator
{
    Q_OBJECT
    Q_INTERFACES(IReportGenerator)

public:
    CBaseReportPlugin(const QString& name, QObject* parent);
    ~CBaseReportPlugin() override;

    void initialize(const QString& name, ISimpleAccessControl* accessControl) override;
    void setReportTemplate(const QString& templateText) override;
    bool editReportTemplate() override;
    bool generateUserReport(const QList<CItemId>& userIds, bool flag) override;
    bool getUserReportAsPdf(const QList<CItemId>& userIds, QByteArray* pdf) override;
    QStringList interfaces() const override;

    /// The constructor's name, until initialize() gives the application's.
    QString name() const { return m_name; }

protected:
    CBaseReportServer* server() const { return m_server; }

private:
    QString m_name;
    CBaseReportServer* m_server;
};
