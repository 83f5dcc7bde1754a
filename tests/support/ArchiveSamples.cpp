#include "support/ArchiveSamples.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace ArchiveSamples {

namespace {

const char* const writer = R"PY(
import io, json, sys, tarfile, zipfile
path, fmt, entries = sys.argv[1], sys.argv[2], json.loads(sys.argv[3])
kinds = {'folder': 0o040000, 'symbolicLink': 0o120000, 'file': 0o100000}
if fmt == 'zip':
    with zipfile.ZipFile(path, 'w', zipfile.ZIP_DEFLATED) as archive:
        for e in entries:
            info = zipfile.ZipInfo(e['name'])
            info.create_system = 3
            info.compress_type = zipfile.ZIP_DEFLATED
            info.external_attr = (kinds[e['kind']] | e['mode']) << 16
            data = e['target'].encode() if e['kind'] == 'symbolicLink' else bytes.fromhex(e['data'])
            archive.writestr(info, data)
else:
    with tarfile.open(path, {'tar': 'w', 'tar.gz': 'w:gz'}[fmt], format=tarfile.PAX_FORMAT) as archive:
        for e in entries:
            info = tarfile.TarInfo(e['name'])
            info.mode = e['mode']
            info.type = {'file': tarfile.REGTYPE, 'folder': tarfile.DIRTYPE, 'symbolicLink': tarfile.SYMTYPE,
                         'hardLink': tarfile.LNKTYPE, 'pipe': tarfile.FIFOTYPE}[e['kind']]
            info.linkname = e['target']
            data = bytes.fromhex(e['data'])
            info.size = len(data) if e['kind'] == 'file' else 0
            archive.addfile(info, io.BytesIO(data))
)PY";

const char* const bomb = R"PY(
import sys, zipfile
with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
    with archive.open('zeros.bin', 'w', force_zip64=True) as member:
        block = bytes(1 << 20)
        for _ in range(int(sys.argv[2]) >> 20):
            member.write(block)
)PY";

// The names the writer above knows, in the order of Entry::Kind.
const char* const kindNames[] = {"file", "folder", "symbolicLink", "hardLink", "pipe"};

} // namespace

bool tool(const QString& program, const QStringList& arguments, const QString& folder) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    return process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

bool python(const QString& archive, const QString& format, const QList<Entry>& entries) {
    QJsonArray list;
    for (const Entry& entry : entries)
        list.append(QJsonObject{{"name", entry.name},
                                {"kind", kindNames[int(entry.kind)]},
                                {"data", QString::fromLatin1(entry.data.toHex())},
                                {"target", entry.target},
                                {"mode", entry.mode}});
    return tool(QStringLiteral("python3"),
                {QStringLiteral("-c"), QString::fromUtf8(writer), archive, format,
                 QString::fromUtf8(QJsonDocument(list).toJson(QJsonDocument::Compact))},
                QStringLiteral("/"));
}

bool zipBomb(const QString& archive, qint64 size) {
    return tool(QStringLiteral("python3"),
                {QStringLiteral("-c"), QString::fromUtf8(bomb), archive, QString::number(size)},
                QStringLiteral("/"));
}

} // namespace ArchiveSamples
