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

    bool isValid() const; ///< servers are one word each; of domains there may be several, with blanks between them
};

/// What has to be appended to the text so that it holds the entries.
QByteArray missingLines(const QByteArray &text, const Entries &wanted);

} // namespace ResolverFile
