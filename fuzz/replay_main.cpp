// Without libFuzzer: runs a target over files that are kept, so that what was found once stays fixed.
//     fuzz_replay TARGET FILE-OR-FOLDER...
#include "fuzz_support.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>

#include <cstdio>

int main(int argc, char** argv)
{
    const FuzzTarget* target = argc > 2 ? findFuzzTarget(argv[1]) : nullptr;
    if (!target) {
        std::fprintf(stderr, "Usage: fuzz_replay TARGET FILE-OR-FOLDER...\n");
        return 2;
    }
    QStringList paths;
    for (int i = 2; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        if (!QFileInfo(path).isDir())
            paths += path;
        for (QDirIterator entries(path, QDir::Files); entries.hasNext();)
            paths += entries.next();
    }
    int runs = 0;
    for (const QString& path : paths) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", qUtf8Printable(path));
            return 1;
        }
        const QByteArray data = file.readAll();
        std::printf("%s\n", qUtf8Printable(path)); // which one it was, if the next line ends the program
        std::fflush(stdout);
        runFuzzInput(*target, reinterpret_cast<const uint8_t*>(data.constData()), static_cast<size_t>(data.size()),
                     true);
        ++runs;
    }
    std::printf("%s: %d inputs\n", target->name, runs);
    return runs > 0 ? 0 : 1; // a corpus that is not found is no success
}
