#include <foundation/services/base_report_plugin.h>

#include <foundation/services/base_report_server.h>

CBaseReportPlugin::CBaseReportPlugin(const QString& name, QObject* parent)
    : QObject(parent)
    , m_name(name)
    , m_server(new CBaseReportServer(this))
{
}

CBaseReportPlugin::~CBaseReportPlugin() = default;

void CBaseReportPlugin::initialize(const QString& name, ISimpleAccessControl* accessControl)
{
    m_name = name;
    m_server->setAccessControl(accessControl);
}

void CBaseReportPlugin::setReportTemplate(const QString& templateText)
{
    m_server->setReportTemplate(templateText);
}

bool CBaseReportPlugin::editReportTemplate()
{
    return false;
}

bool CBaseReportPlugin::generateUserReport(const QList<CItemId>&, bool)
{
    return false;
}

bool CBaseReportPlugin::getUserReportAsPdf(const QList<CItemId>&, QByteArray* pdf)
{
    if (pdf != nullptr)
        pdf->clear();
    return false;
}

QStringList CBaseReportPlugin::interfaces() const
{
    return {QLatin1String(qobject_interface_iid<IReportGenerator*>())};
}
