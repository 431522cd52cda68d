// SPDX-License-Identifier: Apache-2.0
#include "common/JsonWriter.h"
#include "common/Terminal.h"
#include "names/CommandLine.h"
#include "names/Explanation.h"

#include <QCoreApplication>
#include <QTextCodec>

#include <cstdio>

using namespace Names;
using Tools::Terminal::tell;

namespace {
/// The last two as sysexits.h counts them.
enum ExitCode : int { Printed = 0, RuleBroken = 1, WrongUsage = 64, NotWritten = 74 };

bool print(const QByteArray &text)
{
    const auto size = static_cast<std::size_t>(text.size());
    const bool isWritten = std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (!isWritten)
        tell(QStringLiteral("cannot write the names"));
    return isWritten;
}

QByteArray lines(const QVector<QString> &names)
{
    QByteArray text;
    for (const QString &name : names)
        text += name.toUtf8() + '\n';
    return text;
}

QByteArray json(const QVector<QString> &names)
{
    Tools::JsonWriter writer;
    writer.beginObject().member("count", names.size()).key("names").beginArray();
    for (const QString &name : names)
        writer.value(name);
    writer.endArray().endObject();
    return writer.bytes() + '\n';
}

QByteArray json(const Explanation &explanation)
{
    Tools::JsonWriter writer;
    writer.beginObject()
        .member("error", explanation.error)
        .member("column", explanation.column)
        .member("message", explanation.sentence)
        .endObject();
    return writer.bytes() + '\n';
}

int generate(const Options &options)
{
    QVector<QString> names;
    NameGenFault fault;
    TestNameGenerator::generateTestNames(options.prefix, options.first, options.last, names, options.max, fault);
    if (fault.error == TestNameGenerator::NoError)
        return print(options.isJson ? json(names) : lines(names)) ? Printed : NotWritten;

    const Explanation explanation = explanationOf(fault, options.first, options.last, options.max);
    if (!options.isJson)
        tell(explanation.sentence);
    else if (!print(json(explanation)))
        return NotWritten;
    return RuleBroken;
}
} // namespace

int main(int argc, char *argv[])
{
    Tools::Terminal::reserveStandardStreams();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // of the arguments, whatever the locale is
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-names"));

    CommandLine commandLine;
    if (!commandLine.parse(QCoreApplication::arguments())) {
        tell(commandLine.problem());
        return WrongUsage;
    }
    if (const QString answer = commandLine.answer(); !answer.isEmpty())
        return print(answer.toUtf8()) ? Printed : NotWritten;
    return generate(commandLine.options());
}
