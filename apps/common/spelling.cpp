#include "spelling.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

// So many letters may differ, of short words one alone.
constexpr int mostDifferences = 2;
constexpr int shortWord = 4;

// Letters to change, add, take away or exchange with their neighbour to make one text of the other.
int differences(const QString& a, const QString& b)
{
    const auto columns = size_t(b.size()) + 1;
    std::vector<int> before(columns);
    std::vector<int> above(columns);
    std::vector<int> row(columns);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 1; i <= a.size(); ++i) {
        before.swap(above);
        above.swap(row);
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const auto at = size_t(j);
            const bool isSame = a.at(i - 1) == b.at(j - 1);
            row[at] = std::min({above[at] + 1, row[at - 1] + 1, above[at - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && a.at(i - 1) == b.at(j - 2) && a.at(i - 2) == b.at(j - 1))
                row[at] = std::min(row[at], before[at - 2] + 1);
        }
    }
    return row.back();
}

} // namespace

QString meantWord(const QString& word, const QStringList& words)
{
    QString nearest;
    int least = word.size() < shortWord ? 1 : mostDifferences;
    for (const QString& known : words) {
        // What is typed may be of any length.
        if (qAbs(word.size() - known.size()) > least)
            continue;
        const int count = differences(word, known);
        if (count < least || (count == least && nearest.isEmpty())) {
            nearest = known;
            least = count;
        }
    }
    if (!nearest.isEmpty())
        return nearest;
    const auto begins = [&word](const QString& known) { return !word.isEmpty() && known.startsWith(word); };
    const bool isOnly = std::count_if(words.begin(), words.end(), begins) == 1;
    return isOnly ? *std::find_if(words.begin(), words.end(), begins) : QString();
}

QString meantText(const QString& word, const QStringList& words)
{
    const QString meant = meantWord(word, words);
    return meant.isEmpty() ? QString() : QStringLiteral(": did you mean \"%1\"?").arg(meant);
}
