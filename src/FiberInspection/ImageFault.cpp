// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFault_p.h"

#include <cstring>

namespace FiberInspection {

using Reason = Inspection::Reason;

Inspection::Reason reasonOf(ImageFault fault)
{
    switch (fault) {
    case ImageFault::None:
        break;
    case ImageFault::Missing:
        return Reason::FileMissing;
    case ImageFault::NotAFile:
        return Reason::NotAFile;
    case ImageFault::Unreadable:
        return Reason::FileUnreadable;
    case ImageFault::Empty:
        return Reason::FileEmpty;
    case ImageFault::UnknownFormat:
        return Reason::UnknownFormat;
    case ImageFault::Damaged:
        return Reason::ImageDamaged;
    case ImageFault::TooLarge:
        return Reason::ImageTooLarge;
    }
    return Reason::None;
}

QString detailOfFile(Reason reason, qint64 number)
{
    switch (reason) {
    case Reason::FileMissing:
        return QStringLiteral("no such file");
    case Reason::NotAFile:
        return QStringLiteral("not a file");
    case Reason::FileUnreadable:
        return QString::fromLocal8Bit(std::strerror(static_cast<int>(number)));
    case Reason::FileEmpty:
        return QStringLiteral("the file is empty");
    case Reason::ImageTooLarge:
        return QStringLiteral("%1 bytes are too many").arg(number);
    default:
        return {};
    }
}

} // namespace FiberInspection
