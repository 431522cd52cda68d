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
    must(missing.count('\n') <= 4, "three lines are added at most, behind one that is ended");
    must(ResolverFile::missingLines(text + missing, wanted).isEmpty(), "what was added is there");
    for (const QString &server : {wanted.primary, wanted.secondary}) {
        const QByteArray line = "nameserver " + server.toUtf8();
        must(server.isEmpty() || (text + missing).contains(server.toUtf8()), "a wanted server is there");
        must(missing.count(line) <= 4, "and not many times");
    }
    return 0;
}
