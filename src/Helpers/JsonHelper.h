// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

class QObject;

/// Under this key users of the library note the class of an object in their JSON; JsonHelper itself never writes it.
constexpr char CLASS_NAME_TAG[] = "className";

/// Turns the declared properties of an object into one flat JSON object and back.
///
/// @code
/// IPDetails details;
/// details.set_address(QStringLiteral("192.0.2.7"));
/// const QByteArray json = JsonHelper::toByteArray(details);
/// IPDetails copy;
/// if (!JsonHelper::fromJson(json, &copy))
///     qWarning() << "neither a JSON object nor an array";
/// @endcode
class VANTORBASE_EXPORT JsonHelper
{
public:
    JsonHelper() = delete;

    /// All properties but "objectName" and "className". What JSON cannot say (NaN, most types) becomes null.
    static QJsonObject toJsonObject(const QObject &object);
    static QJsonObject toJsonObject(const QObject *object); ///< the object must not be null

    /// Indented, on several lines.
    static QByteArray toByteArray(const QObject &object);
    static QByteArray toByteArray(const QObject *object); ///< the object must not be null
    static QByteArray toByteArray(const QJsonObject &json);

    /// Reads JSON of whomever. As QJsonDocument::fromJson(), but refuses an object that names a key twice, whose values
    /// Qt would lose, before Qt sees it; a warning tells.
    /// What is nested 1024 deep is still read, and set below, for which a thread needs a stack of 512 KiB.
    /// @param error of Qt, which has none for such a key: an illegal value then
    /// @param reason for people, why there is no document: "duplicate key", or Qt's words; untouched if there is one
    static QJsonDocument parse(const QByteArray &data, QJsonParseError *error = nullptr, QString *reason = nullptr);

    /// Sets a property for every key, in the order of the keys; an unknown key makes a dynamic property, of which a
    /// target has at most 4096. A key beyond that, or with a U+0000, sets nothing; a warning tells how many. The sender
    /// decides what is set: nothing is checked. An enumeration takes the name of a value, not its number. True, unless
    /// a receiver of a change deletes the target before the last one.
    static bool fromJson(const QJsonObject &json, QObject *target);

    /// A JSON object is read as above, a JSON array goes whole into the property "jsonarray". False for anything else,
    /// and for what parse() refuses.
    static bool fromJson(const QByteArray &data, QObject *target);
};
