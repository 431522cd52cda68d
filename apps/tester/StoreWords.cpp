// SPDX-License-Identifier: Apache-2.0
#include "StoreWords.h"

#include "Internal/ShownText.h"

using Records::Fault;
using Records::Opened;
using Records::Opening;
using Records::Problem;

QString StoreWords::of(const Opening &opening)
{
    switch (opening.how) {
    case Opened::Usable:
    case Opened::Begun:
        return {};
    case Opened::BegunAnew:
        return tr("The results were damaged and are kept aside in %1. New ones were begun.").arg(opening.keptAside);
    case Opened::InUse:
        return tr("Another program has the results open. Nothing can be stored until it ends.");
    case Opened::ReadOnlyFolder:
        return tr("The folder of the results cannot be written. Nothing can be stored.");
    case Opened::FullDisk:
        return tr("The disk is full. Nothing can be stored.");
    case Opened::LaterVersion:
        return tr("A later version of this program wrote the results. They can only be looked at.");
    case Opened::AsReader:
    case Opened::No:
        break;
    }
    return tr("The results cannot be opened: %1").arg(opening.problem.text);
}

QString StoreWords::of(const Problem &problem)
{
    switch (problem.fault) {
    case Fault::None:
        return {};
    case Fault::DiskFull:
        return tr("the disk is full");
    case Fault::ReadOnly:
        return tr("the folder of the results cannot be written");
    case Fault::Busy:
        return tr("another program has the results open");
    case Fault::LaterVersion:
        return tr("a later version of this program wrote the results");
    case Fault::Damaged:
        return tr("the results are damaged");
    case Fault::Gone:
        return tr("the folder of the results was moved or removed");
    case Fault::NotFound: // a record is never removed
        return tr("other results are there now");
    case Fault::OutOfMemory:
        return tr("there is not enough memory");
    default:
        return problem.text;
    }
}

QString StoreWords::shown(const QString &text)
{
    const QString plain = ShownText::of(text);
    if (plain.size() <= maxShown)
        return plain;
    const int length = maxShown - 1;
    return plain.left(plain.at(length - 1).isHighSurrogate() ? length - 1 : length) + QChar(0x2026); // ellipsis
}
