// SPDX-License-Identifier: Apache-2.0
#include "Internal/JsonWriter.h"
#include "common/Program.h"
#include "common/Terminal.h"
#include "names/CommandLine.h"
#include "names/Explanation.h"

using namespace Names;

namespace {
QByteArray lines(const QVector<QString> &names)
{
    QByteArray text;
    for (const QString &name : names)
        text += name.toUtf8() + '\n';
    return text;
}

QByteArray json(const QVector<QString> &names)
{
    JsonWriter writer;
    writer.beginObject().member("count", names.size()).key("names").beginArray();
    for (const QString &name : names)
        writer.value(name);
    writer.endArray().endObject();
    return writer.bytes() + '\n';
}

QByteArray json(const Explanation &explanation)
{
    JsonWriter writer;
    writer.beginObject()
        .member("error", explanation.error)
        .member("column", explanation.column)
        .member("message", explanation.sentence)
        .endObject();
    return writer.bytes() + '\n';
}

int tell(const Explanation &explanation, bool isJson)
{
    const int printed = isJson ? Tools::print(json(explanation)) : Tools::Done;
    if (!isJson)
        Tools::Terminal::tell(explanation.sentence);
    return printed == Tools::Done ? Tools::NotPassed : printed;
}

int generate(const Options &options)
{
    QVector<QString> names;
    NameGenFault fault;
    TestNameGenerator::generateTestNames(options.prefix, options.first, options.last, names, options.max, fault);
    if (fault.error == TestNameGenerator::NoError)
        return Tools::print(options.isJson ? json(names) : lines(names));
    return tell(explanationOf(fault, options.first, options.last, options.max), options.isJson);
}
} // namespace

int main(int argc, char *argv[])
{
    const Tools::Program program(argc, argv, "vantor-names");
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return generate(commandLine.options()); });
}
