// SPDX-License-Identifier: Apache-2.0
// Whatever stands in the list of name servers, and whatever is added (the first three lines): nothing is lost, and
// adding the same again adds nothing.
#include "Helpers/ResolverFile_p.h"

#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepSilent);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QStringList lines = QString::fromUtf8(bytes).split(QLatin1Char('\n'));
    while (lines.size() < 4)
        lines << QString();
    const ResolverFile::Entries wanted{lines.takeFirst(), lines.takeFirst(), lines.takeFirst()};
    if (!wanted.isValid())
        return 0;
    const QByteArray text = lines.join(QLatin1Char('\n')).toUtf8();

    const QByteArray missing = ResolverFile::missingLines(text, wanted);
    must(missing.isEmpty() || missing.endsWith('\n'), "what is added ends in a line feed");
    const QList<QByteArray> added = missing.split('\n');
    must(added.size() <= 5, "three lines are added at most, behind one that is ended");
    must(ResolverFile::missingLines(text + missing, wanted).isEmpty(), "what was added is there");
    for (const QString &server : {wanted.primary, wanted.secondary}) {
        must(server.isEmpty() || (text + missing).contains(server.toUtf8()), "a wanted server is there");
        must(added.count("nameserver " + server.toUtf8()) <= 2, "and not many times"); // both may be the same one
    }
    return 0;
}
