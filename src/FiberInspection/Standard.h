// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Rule.h"

#include <QMetaType>
#include <QVector>

namespace FiberInspection {

/// One of the concentric zones of a connector end face with its acceptance criteria.
///
/// @code
/// const Zone core = Standard(Standard::IEC61300_3_35_MM).core();
/// qInfo() << core.description();
/// for (const Rule &rule : core.rules)
///     qInfo() << rule.toString();
/// @endcode
struct VANTORBASE_EXPORT Zone
{
    enum Id : int { Core = 0, Cladding = 1, Adhesive = 2, Contact = 3 };

    Id zone = Core;
    int innerDiameter = 0; ///< micrometres
    int outerDiameter = 0; ///< micrometres
    QVector<Rule> rules;

    /// "Core", "Cladding", "Adhesive" or "Contact"; empty for any other value.
    static QString name(Id id);

    /// Name and inner diameter: "Cladding (25 - 25)".
    QString description() const;
};

/// The acceptance criteria of IEC 61300-3-35 edition 2 for one kind of connector.
///
/// Only the core and the cladding zone carry rules. `Manual` has neither rules nor diameters.
///
/// @code
/// const QVector<Standard::Id> ids = Standard::allStandardIds();
/// for (const Standard::Id id : ids) {
///     const Standard standard(id);
///     qInfo() << standard.name() << "core up to" << standard.core().outerDiameter << "um";
///     for (const Rule &rule : standard.core().rules)
///         qInfo() << rule.toString();
/// }
/// @endcode
class VANTORBASE_EXPORT Standard
{
public:
    enum Id : int {
        IEC61300_3_35_SM_RL26 = 0, ///< single mode, return loss of at least 26 dB
        IEC61300_3_35_SM_RL35 = 1, ///< single mode, return loss of at least 35 dB
        IEC61300_3_35_SM_RL45 = 2, ///< single mode, return loss of at least 45 dB
        IEC61300_3_35_SM_APC = 3, ///< single mode, angled polish
        IEC61300_3_35_MM = 4, ///< multi mode
        Manual = 5,
    };

    Standard() = default;

    /// An unknown id gives what Standard() gives: id RL26 and empty zones.
    explicit Standard(Id id);

    Id id() const { return mId; }
    const Zone &core() const { return mCore; }
    const Zone &cladding() const { return mCladding; }
    const Zone &adhesive() const { return mAdhesive; }
    const Zone &contact() const { return mContact; }

    QString name() const { return name(id()); }

    /// The name shown to the user; only "Manual" is translated. Empty for an unknown id.
    static QString name(Id id);

    /// The standards offered to the user. RL35 is not among them, though it can be constructed.
    static QVector<Id> allStandardIds();

private:
    void init(Id id);
    void initSMRL26();
    void initSMRL35();
    void initSMRL45();
    void initSMAPC();
    void initMM();
    void initZones(Id id, int coreDiameter, const QVector<Rule> &coreRules);

    Id mId = IEC61300_3_35_SM_RL26;
    Zone mCore;
    Zone mCladding;
    Zone mAdhesive;
    Zone mContact;
};

} // namespace FiberInspection

Q_DECLARE_METATYPE(FiberInspection::Standard::Id)
