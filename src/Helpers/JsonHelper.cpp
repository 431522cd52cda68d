// SPDX-License-Identifier: Apache-2.0
#include "Helpers/JsonHelper.h"

#include "Helpers/JsonCheck_p.h"

#include <QDebug>
#include <QJsonArray>
#include <QMetaProperty>
#include <QPointer>
#include <QSet>
#include <QVarLengthArray>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace {
constexpr int mostDynamicProperties = 4096; // of an object; Qt looks for one among all
constexpr char objectNameProperty[] = "objectName";
constexpr char jsonArrayProperty[] = "jsonarray";

bool isReserved(const char *name)
{
    return std::strcmp(name, objectNameProperty) == 0 || std::strcmp(name, CLASS_NAME_TAG) == 0;
}

bool isObject(const QObject *object)
{
    if (object)
        return true;
    qWarning() << "Object can't be null";
    return false;
}

using Name = QVarLengthArray<char, 64>;

/// The key as UTF-8. Nearly all are ASCII and short, for which no memory is needed.
Name nameOf(const QString &key)
{
    const int size = key.size();
    const ushort *const letters = key.utf16();
    Name name(size + 1);
    char *const bytes = name.data();
    ushort allBits = 0;
    for (int i = 0; i < size; ++i) {
        allBits |= letters[i];
        bytes[i] = static_cast<char>(letters[i]);
    }
    bytes[size] = '\0';
    if (allBits < 0x80)
        return name;
    const QByteArray utf8 = key.toUtf8();
    name.resize(utf8.size() + 1);
    std::copy_n(utf8.constData(), utf8.size() + 1, name.data());
    return name;
}

/// Makes and changes dynamic properties of one object, as many as it may have: whoever sends the keys would else decide
/// how many stay in memory.
class DynamicProperties
{
public:
    bool set(const char *name, const QJsonValue &value, QObject *target)
    {
        const bool isAllowed =
            target->dynamicPropertyNames().size() < mostDynamicProperties || isAmongThem(name, *target);
        if (isAllowed)
            target->setProperty(name, value.toVariant());
        return isAllowed;
    }

private:
    bool isAmongThem(const char *name, const QObject &target)
    {
        if (!mNames) {
            const QList<QByteArray> names = target.dynamicPropertyNames();
            mNames.emplace(names.cbegin(), names.cend());
        }
        return mNames->contains(name);
    }

    std::optional<QSet<QByteArray>> mNames; ///< when there are as many as may be
};

/// @return whether there is, or may be, such a property
bool setProperty(const char *name, const QJsonValue &value, QObject *target, DynamicProperties *dynamicProperties)
{
    const QMetaObject *const metaObject = target->metaObject();
    const int index = metaObject->indexOfProperty(name);
    const QMetaProperty property = metaObject->property(index);
    constexpr int noNumber = std::numeric_limits<int>::min();
    const bool isInt = property.userType() == QMetaType::Int && !property.isEnumType(); // a JSON number sets no enum
    const int number = isInt ? value.toInt(noNumber) : noNumber;
    if (index < 0)
        return dynamicProperties->set(name, value, target);
    if (number != noNumber)
        property.write(target, number); // spares a conversion
    else
        property.write(target, value.toVariant());
    return true;
}

void setArray(const QJsonArray &array, QObject *target)
{
    const QPointer<QObject> guard(target); // a receiver of the change may delete it
    for (int i = 0; guard && i < target->metaObject()->propertyCount(); ++i) {
        const char *const name = target->metaObject()->property(i).name();
        if (std::strcmp(name, jsonArrayProperty) == 0)
            target->setProperty(name, QVariant(array));
    }
}
} // namespace

QJsonObject JsonHelper::toJsonObject(const QObject &object)
{
    QJsonObject json;
    const QMetaObject *const metaObject = object.metaObject();
    for (int i = 0; i < metaObject->propertyCount(); ++i) {
        const char *const name = metaObject->property(i).name();
        if (!isReserved(name)) // by name: where a derived class declares a property again, its value is the one
            json.insert(QString::fromUtf8(name), QJsonValue::fromVariant(object.property(name)));
    }
    return json;
}

QJsonObject JsonHelper::toJsonObject(const QObject *object)
{
    return isObject(object) ? toJsonObject(*object) : QJsonObject();
}

QByteArray JsonHelper::toByteArray(const QObject &object)
{
    return toByteArray(toJsonObject(object));
}

QByteArray JsonHelper::toByteArray(const QObject *object)
{
    return isObject(object) ? toByteArray(*object) : QByteArray();
}

QByteArray JsonHelper::toByteArray(const QJsonObject &json)
{
    return QJsonDocument(json).toJson();
}

QJsonDocument JsonHelper::parse(const QByteArray &data, QJsonParseError *error, QString *reason)
{
    QJsonDocument document;
    QJsonParseError problem{};
    const auto [fault, offset] = findJsonFault(data);
    if (fault == JsonFault::None) {
        document = QJsonDocument::fromJson(data, &problem);
    } else {
        problem.error = fault == JsonFault::TooDeep ? QJsonParseError::DeepNesting : QJsonParseError::IllegalValue;
        problem.offset = offset;
    }
    if (fault == JsonFault::KeyTwice)
        qWarning() << "JSON with a key that stands twice in its object, at byte" << offset;
    if (reason && problem.error != QJsonParseError::NoError)
        *reason = fault == JsonFault::KeyTwice ? QStringLiteral("duplicate key") : problem.errorString();
    if (error)
        *error = problem;
    return document;
}

bool JsonHelper::fromJson(const QJsonObject &json, QObject *target)
{
    if (!isObject(target))
        return false;
    // The receivers of a change may take it away, and the target.
    const QJsonObject values = json; // NOLINT(performance-unnecessary-copy-initialization)
    const QPointer<QObject> guard(target);
    DynamicProperties dynamicProperties;
    int ignored = 0;
    for (auto value = values.constBegin(); value != values.constEnd(); ++value) {
        if (!guard)
            return false;
        const QString key = value.key();
        const bool isName = !key.contains(QChar::Null); // as a name it would end there, and be another key's
        if (!isName || !setProperty(nameOf(key).constData(), value.value(), target, &dynamicProperties))
            ++ignored;
    }
    if (ignored > 0)
        qWarning() << "keys of JSON that set nothing:" << ignored;
    return true;
}

bool JsonHelper::fromJson(const QByteArray &data, QObject *target)
{
    if (!isObject(target))
        return false;
    const QJsonDocument document = parse(data);
    if (document.isArray()) {
        setArray(document.array(), target);
        return true;
    }
    if (document.isObject())
        return fromJson(document.object(), target);
    qDebug() << "Document is not an Object" << document.isNull();
    return false;
}
