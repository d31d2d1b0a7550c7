#include "monitoring/metrics_text.h"

#include <QtCore/QString>

#include <algorithm>

namespace {

QByteArray number(double value)
{
    return QByteArray::number(value, 'g', 15);
}

QByteArray escaped(QByteArray value)
{
    return value.replace('\\', "\\\\").replace('"', "\\\"").replace('\n', "\\n");
}

} // namespace

void Histogram::observe(double seconds)
{
    const auto bucket = std::lower_bound(m_bounds.begin(), m_bounds.end(), seconds);
    ++m_counts[std::size_t(bucket - m_bounds.begin())];
    m_sum += seconds;
}

void MetricsText::begin(const QByteArray& name, const char* type, const char* help)
{
    m_text += "# HELP " + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

void MetricsText::sample(const QByteArray& name, double value, const Labels& labels)
{
    m_text += name;
    for (int i = 0; i < labels.size(); ++i)
        m_text += (i == 0 ? '{' : ',') + labels.at(i).first + "=\"" + escaped(labels.at(i).second) + '"';
    m_text += (labels.isEmpty() ? " " : "} ") + number(value) + '\n';
}

void MetricsText::histogram(const QByteArray& name, const char* help, const Histogram& histogram)
{
    begin(name, "histogram", help);
    quint64 count = 0;
    for (std::size_t i = 0; i < histogram.m_counts.size(); ++i) {
        count += histogram.m_counts[i];
        const QByteArray end = i < histogram.m_bounds.size() ? number(histogram.m_bounds[i]) : QByteArray("+Inf");
        sample(name + "_bucket", double(count), {{"le", end}});
    }
    sample(name + "_sum", histogram.m_sum);
    sample(name + "_count", double(count));
}
