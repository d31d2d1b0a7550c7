#pragma once

#include <QtCore/QFile>
#include <QtCore/QSaveFile>

#include <functional>

/// A file that is written as a whole, or not at all: until commit() what stands under its name stays as it was. A pipe,
/// terminal or device is written to: a file in its place would be its end. "-" is standard output.
class OutputFile
{
public:
    enum class Mode
    {
        Replace,
        New ///< a file that exists is refused; nobody but its owner may read it
    };

    explicit OutputFile(const QString& name, Mode mode = Mode::Replace);

    /// False with a reason.
    bool open(QString& error);
    QIODevice& device();
    /// False with a reason. Without it nothing was written.
    bool commit(QString& error);

private:
    QString m_name;
    Mode m_mode;
    bool m_isWhole = true; // else piece by piece
    QSaveFile m_whole;
    QFile m_piecemeal;
    QFileDevice& file();
    bool refuse(const QString& reason, QString& error) const;
};

/// Writes a file so. False with an error.
bool saveFile(const QString& name, const std::function<void(QIODevice&)>& write, QString& error);
