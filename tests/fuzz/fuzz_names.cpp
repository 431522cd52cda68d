// SPDX-License-Identifier: Apache-2.0
// Whatever pair of names comes: either an error and no names, or a run that keeps to its limit. The input is the first
// name, the last one, the limit and the prefix, a line each.
#include "Helpers/TestNameGenerator.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {
constexpr int largestLimit = 20000; // names, to keep a round short

void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// Whether a column stands one before itself, as B to A does: then no limit holds.
bool hasEmptyColumn(const QString &first, const QString &last)
{
    for (int i = 0; i < std::min(first.size(), last.size()); ++i) {
        if (last[i].unicode() + 1 == first[i].unicode())
            return true;
    }
    return false;
}

void checkColumns(const QString &text, const QString &tokens)
{
    int length = 0;
    for (const NameGenColumnValue &column : TestNameGenerator::getAllColumnValues(text, tokens)) {
        must(!column.value.isEmpty(), "no column is empty");
        must(TestNameGenerator::getLeadingZeroCount(column) <= column.value.size(), "zeros are part of their column");
        length += column.value.size();
    }
    must(length <= text.size(), "columns are parts of the name");
}

void checkRun(const QString &first, const QString &last, int limit, const QString &prefix)
{
    QVector<QString> names{QStringLiteral("before")};
    const auto error = TestNameGenerator::generateTestNames(first, last, names, limit);
    must(names[0] == QLatin1String("before"), "what was there stays");
    must((error == TestNameGenerator::NoError) == (names.size() > 1), "there are names or an error");
    must(names.size() - 1 <= std::max(limit, 0) || first == last, "the limit holds");
    if (error != TestNameGenerator::NoError)
        return;
    must(names[1] == first, "the run starts with the first name");
    must(
        std::all_of(names.cbegin() + 1, names.cend(), [&](const QString &name) { return name.size() <= first.size(); }),
        "no name is longer than the first one");

    QVector<QString> prefixed{QStringLiteral("before")};
    TestNameGenerator::generateTestNames(prefix, first, last, prefixed, limit);
    must(prefixed.size() == names.size(), "a prefix changes no count");
    for (int i = 0; i < names.size(); ++i)
        must(prefixed[i] == prefix + names[i], "a prefix stands in front as it is");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepSilent);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QStringList lines =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size)).split(QLatin1Char('\n'));
    const QString first = lines.value(0);
    const QString last = lines.value(1);
    const QString prefix = lines.value(3);
    const int limit = std::min(lines.value(2).toInt(), largestLimit);

    must(TestNameGenerator::tokenise(first).size() == first.size(), "every character has its token");
    checkColumns(first, TestNameGenerator::tokenise(first));
    checkColumns(first, last);
    if (!hasEmptyColumn(first, last))
        checkRun(first, last, limit, prefix);
    return 0;
}
