// SPDX-License-Identifier: Apache-2.0
#include "Helpers/ResolverFile_p.h"

#include <QDebug>
#include <QStringList>
#include <QTextStream>

#include <algorithm>

namespace ResolverFile {

namespace {
bool isOneWord(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return !c.isSpace() && c.isPrint(); });
}

/// What a DHCP server calls a domain are often several.
bool isOneLineOfWords(const QString &text)
{
    const QStringList words = text.split(QLatin1Char(' '));
    return std::all_of(words.cbegin(), words.cend(), isOneWord);
}

QByteArray lineUnlessPresent(const char *keyword, const QString &value, bool isPresent)
{
    return value.isEmpty() || isPresent ? QByteArray() : keyword + (' ' + value.toUtf8()) + '\n';
}
} // namespace

bool Entries::isValid() const
{
    return isOneWord(primary) && isOneWord(secondary) && isOneLineOfWords(domain);
}

QByteArray missingLines(const QByteArray &text, const Entries &wanted)
{
    bool hasPrimary = false;
    bool hasSecondary = false;
    const QStringList domains = wanted.domain.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    bool hasDomain = domains.isEmpty(); // of blanks alone it would be added again every time
    QString decoded = QString::fromUtf8(text);
    QTextStream lines(&decoded, QIODevice::ReadOnly);
    for (QString line; lines.readLineInto(&line);) {
        qDebug() << "line=" << line;
        line = line.trimmed();
        const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (words.size() < 2)
            continue;
        if (line.startsWith(QLatin1String("nameserver"))) {
            hasPrimary = hasPrimary || words.at(1) == wanted.primary;
            hasSecondary = hasSecondary || words.at(1) == wanted.secondary;
        } else if (line.startsWith(QLatin1String("domain"))) {
            hasDomain = hasDomain || words.at(1) == wanted.domain || words.mid(1) == domains;
        }
    }

    const QByteArray missing = lineUnlessPresent("nameserver", wanted.primary, hasPrimary)
        + lineUnlessPresent("nameserver", wanted.secondary, hasSecondary)
        + lineUnlessPresent("domain", wanted.domain, hasDomain);
    const bool lastLineIsOpen = !text.isEmpty() && !text.endsWith('\n');
    return lastLineIsOpen && !missing.isEmpty() ? '\n' + missing : missing;
}

} // namespace ResolverFile
