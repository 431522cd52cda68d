// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"

#include <QFile>
#include <QHash>

/// An end face of data/samples with what an inspection found on it.
struct Face
{
    QByteArray picture;
    FiberInspection::InspectionOptions options;
    FiberInspection::Inspection inspection;

    static const Face &of(const QString &name)
    {
        static QHash<QString, Face> faces;
        Face &face = faces[name];
        if (!face.picture.isEmpty())
            return face;
        QFile file(QStringLiteral(VANTOR_SAMPLES "/%1.jpg").arg(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("no sample %s", qPrintable(name));
        face.picture = file.readAll();
        face.options.seed = 0xfedcba9876543210U; // more than a signed number holds
        const auto standard = name == QLatin1String("mm") ? FiberInspection::Standard::IEC61300_3_35_MM
                                                          : FiberInspection::Standard::IEC61300_3_35_SM_RL45;
        face.inspection = FiberInspection::inspect(
            FiberInspection::decodeImage(face.picture).image, standard, FiberInspection::Device::ks20(), face.options);
        return face;
    }

    Records::Origin origin(Records::Id point = Records::noId) const
    {
        return Records::Origin::of(point, FiberInspection::Device::ks20(), options);
    }

    Records::Answer<Records::Id> addTo(Records::RecordStore &store, Records::Id point = Records::noId) const
    {
        return store.addInspection(origin(point), inspection, picture);
    }
};

/// How many pictures were swept; -1 when that failed.
inline int sweptBy(Records::RecordStore *store)
{
    const Records::Answer<int> swept = store->sweep();
    return swept.ok() ? swept.value : -1;
}
