#pragma once

// The independent readers the media tests hold our files against: ffprobe and ffmpeg for
// video, tiffinfo for TIFF. Shared by the platform, recording and command-line tests.

#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace MediaProbes {

// The output of a command; empty when it did not finish within two minutes.
inline QString run(const QString& program, const QStringList& args, bool withErrors = true)
{
    QProcess process;
    process.start(program, args);
    if (!process.waitForFinished(120000))
        return QString();
    const QString out = QString::fromUtf8(process.readAllStandardOutput());
    return withErrors ? out + QString::fromUtf8(process.readAllStandardError()) : out;
}

// ffprobe's view of a video's first stream, frames counted by decoding them:
// codec_name, codec_tag_string, width, height, pix_fmt, nb_read_frames; "errors" when ffprobe
// complained.
inline QMap<QString, QString> ffprobe(const QString& file)
{
    QProcess process;
    process.start("ffprobe",
                  {"-v", "error", "-select_streams", "v:0", "-count_frames", "-show_entries",
                   "stream=codec_name,codec_tag_string,width,height,pix_fmt,"
                   "nb_read_frames",
                   "-of", "default=noprint_wrappers=1", file});
    QMap<QString, QString> fields;
    if (!process.waitForFinished(120000))
        return {{"errors", "ffprobe did not finish"}};
    for (const QString& line : QString::fromUtf8(process.readAllStandardOutput()).split('\n')) {
        const int equals = line.indexOf('=');
        if (equals > 0)
            fields[line.left(equals)] = line.mid(equals + 1).trimmed();
    }
    const QString errors = QString::fromUtf8(process.readAllStandardError()).trimmed();
    if (!errors.isEmpty())
        fields["errors"] = errors;
    return fields;
}

// Every frame of a file decoded by ffmpeg as raw `pixFmt` samples, top line first.
inline QByteArray decode(const QString& file, const char* pixFmt)
{
    QProcess process;
    process.start("ffmpeg", {"-v", "error", "-i", file, "-f", "rawvideo", "-pix_fmt", pixFmt, "-"});
    process.waitForFinished(120000);
    return process.readAllStandardOutput();
}

// tiffinfo's report of a file, with its exit status.
inline QString tiffinfo(const QString& file, int* exitCode = nullptr)
{
    QProcess process;
    process.start("tiffinfo", {file});
    process.waitForFinished(30000);
    if (exitCode)
        *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAllStandardOutput()) +
           QString::fromUtf8(process.readAllStandardError());
}

} // namespace MediaProbes
