#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QPair>

#include <vector>

/// How often something took how long, in buckets that grow.
class Histogram
{
public:
    /// Upper ends of the buckets in seconds, growing; longer ones are counted, too.
    explicit Histogram(std::vector<double> bounds)
        : m_bounds(std::move(bounds))
        , m_counts(m_bounds.size() + 1)
    {
    }

    void observe(double seconds);

private:
    friend class MetricsText;
    std::vector<double> m_bounds;
    std::vector<quint64> m_counts; // of each bucket alone; the last one is that of what is longer
    double m_sum = 0;
};

/// Writes Prometheus' text format, version 0.0.4.
///
///     MetricsText text;
///     text.begin("kyr_links", "gauge", "Devices that are linked.");
///     text.sample("kyr_links", 3);
class MetricsText
{
public:
    using Labels = QList<QPair<QByteArray, QByteArray>>;

    static QByteArray contentType() { return QByteArrayLiteral("text/plain; version=0.0.4; charset=utf-8"); }

    /// The lines above the samples of one name; its samples follow.
    void begin(const QByteArray& name, const char* type, const char* help);
    void sample(const QByteArray& name, double value, const Labels& labels = {});
    /// With the lines above it.
    void histogram(const QByteArray& name, const char* help, const Histogram& histogram);

    QByteArray text() const { return m_text; }

private:
    QByteArray m_text;
};
