// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

/// The name servers that the local name server asks, in the form of /etc/resolv.conf.
namespace ResolverFile {

/// Name servers and domain to be known to the file; empty ones are not wanted.
struct Entries
{
    QString primary;
    QString secondary;
    QString domain;

    bool isValid() const; ///< no entry could be read as more than one word
};

/// What has to be appended to the text so that it holds the entries.
QByteArray missingLines(const QByteArray &text, const Entries &wanted);

} // namespace ResolverFile
