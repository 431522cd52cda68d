// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

namespace Inspect {

/// Why there is no verdict; of one that there is, nothing.
struct NoVerdict
{
    using Reason = FiberInspection::Inspection::Reason;

    Reason reason = Reason::None;
    QString detail;

    /// What kept the image from an inspection that comes to its end; no inspection says so of itself.
    static NoVerdict ofRun(const QString &what) { return {Reason::NotInspected, what}; }

    bool isThere() const { return reason != Reason::None; }

    QString text() const
    {
        return reason == Reason::NotInspected ? detail : FiberInspection::Inspection::problemText(reason, detail);
    }
};

} // namespace Inspect
