#pragma once

#include <foundation/core/check_digit.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

/// How an id and its check digit are written: groups of digits with leading zeros, separated by dots.
struct IdLabel
{
    int groups;
    int digits;
    /// The greatest number that a label may show, check digit included.
    quint32 greatest;

    QString write(quint32 id) const
    {
        quint32 number = id * 10 + modulo10Checksum(id);
        QString label(groups * (digits + 1) - 1, QLatin1Char('.'));
        QChar* character = label.data() + label.size();
        for (int group = 0; group < groups; ++group) {
            character -= group == 0 ? 0 : 1;
            for (int digit = 0; digit < digits; ++digit, number /= 10)
                *--character = QLatin1Char(static_cast<char>('0' + number % 10));
        }
        return label;
    }

    /// The id, or 0 with *ok (if given) false.
    quint32 read(const QString& label, bool* ok) const
    {
        // Checked first, so that a long text is not cut into pieces for nothing.
        bool good = label.size() == groups * (digits + 1) - 1;
        quint32 number = 0;
        if (good) {
            const QStringList parts = label.split(QLatin1Char('.'));
            good = parts.size() == groups;
            for (int i = 0; good && i < groups; ++i) {
                const int value = parts.at(i).size() == digits ? parts.at(i).toInt(&good) : (good = false);
                number = number * (digits == 3 ? 1000 : 10000) + static_cast<quint32>(value);
            }
        }
        good = good && number >= 10 && number <= greatest && number % 10 == modulo10Checksum(number / 10);
        if (ok)
            *ok = good;
        return good ? number / 10 : 0;
    }
};
