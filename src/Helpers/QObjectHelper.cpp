// SPDX-License-Identifier: Apache-2.0
#include "Helpers/QObjectHelper.h"

#include <QDebug>
#include <QMetaProperty>
#include <QPointer>
#include <QQmlEngine>

#include <cstring>

namespace {
constexpr char objectNameProperty[] = "objectName";
constexpr int objectNameIndex = 0;
constexpr char objectSeparator[] = "\n=========\n";

// The texts only: the warnings tell the function that was called.
constexpr char noObject[] = "Object can't be null";
constexpr char noPair[] = "source nor target can be null";

bool isObjectName(const QMetaProperty &property)
{
    return std::strcmp(property.name(), objectNameProperty) == 0;
}

/// Calls the function with the meta-property of every property of the record; stops when it returns false.
template <typename Function>
bool forEachProperty(const QObject &object, Function function)
{
    const QMetaObject *const metaObject = object.metaObject();
    for (int i = 0; i < metaObject->propertyCount(); ++i) {
        const QMetaProperty property = metaObject->property(i);
        if (!isObjectName(property) && !function(property))
            return false;
    }
    return true;
}

/// The property of the target that stands where the source's stands, if it is the same one in kind: on an object of an
/// unrelated class the source's own meta-property would take one type's memory for another's.
QMetaProperty counterpart(const QMetaProperty &property, const QObject &target)
{
    if (target.metaObject() == property.enclosingMetaObject())
        return property;
    const QMetaProperty other = target.metaObject()->property(property.propertyIndex());
    return other.userType() == property.userType() ? other : QMetaProperty();
}

QString inParentheses(const QStringList &texts)
{
    return QLatin1Char('(') + texts.join(QLatin1Char(',')) + QLatin1Char(')');
}
} // namespace

QStringList QObjectHelper::propertyNames(const QObject *object)
{
    QStringList names;
    if (!object) {
        qWarning() << noObject;
        return names;
    }
    forEachProperty(*object, [&](const QMetaProperty &property) {
        names.append(QString::fromUtf8(property.name()));
        return true;
    });
    return names;
}

int QObjectHelper::propertyCount(const QObject *object)
{
    if (!object) {
        qWarning() << noObject;
        return 0;
    }
    return object->metaObject()->propertyCount() - 1;
}

QVariantHash QObjectHelper::properties(const QObject *object)
{
    QVariantHash values;
    if (!object) {
        qWarning() << noObject;
        return values;
    }
    forEachProperty(*object, [&](const QMetaProperty &property) {
        values.insert(QString::fromUtf8(property.name()), property.read(object));
        return true;
    });
    return values;
}

QVariant QObjectHelper::propertyValue(const QObject *object, int index)
{
    if (!object) {
        qWarning() << noObject;
        return {};
    }
    if (index < 0 || index >= propertyCount(object))
        return {};
    return object->metaObject()->property(index + 1).read(object);
}

bool QObjectHelper::reassign(const QObject *source, QObject *target)
{
    if (!source || !target) {
        qWarning() << noPair;
        return false;
    }
    // The receivers of a change may delete either object.
    const QPointer<const QObject> from(source);
    const QPointer<QObject> to(target);
    const QMetaObject *const metaObject = source->metaObject();
    for (int i = 0, count = metaObject->propertyCount(); i < count; ++i) {
        if (!from || !to)
            return false;
        const QMetaProperty property = metaObject->property(i);
        if (!isObjectName(property))
            counterpart(property, *target).write(target, property.read(source));
    }
    return true;
}

bool QObjectHelper::reassign(const QVector<QVariant> &values, QObject *target)
{
    if (!target) {
        qWarning() << noObject;
        return false;
    }
    if (values.size() != propertyCount(target)) {
        qWarning() << "property count doesn't match" << values.size() << propertyCount(target);
        return false;
    }
    // The receivers of a change may take the values away, and the target.
    const QVector<QVariant> kept = values; // NOLINT(performance-unnecessary-copy-initialization)
    const QPointer<QObject> to(target);
    for (int i = objectNameIndex + 1; i <= kept.size(); ++i) {
        if (!to || !target->metaObject()->property(i).write(target, kept[i - 1]))
            return false;
    }
    return true;
}

bool QObjectHelper::equal(const QObject *source, const QObject *target)
{
    if (!source || !target) {
        qWarning() << noPair;
        return false;
    }
    return forEachProperty(*source, [&](const QMetaProperty &property) {
        const QMetaProperty other = counterpart(property, *target);
        return other.isValid() && property.read(source) == other.read(target);
    });
}

void QObjectHelper::ownByCpp(QObject *object)
{
    QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
}

void QObjectHelper::ownByQml(QObject *object)
{
    QQmlEngine::setObjectOwnership(object, QQmlEngine::JavaScriptOwnership);
}

QString QObjectHelper::toString(const QObject *object)
{
    QString text;
    if (!object)
        return text;
    const QVariantHash values = properties(object);
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        text += QStringLiteral("%1: %2\n").arg(value.key(), value->toString());
    return text;
}

QString QObjectHelper::toString(const QVector<QObject *> &objects)
{
    QString text;
    for (const QObject *const object : objects) {
        if (object)
            text += toString(object) + QLatin1String(objectSeparator);
    }
    return text;
}

QString QObjectHelper::intVectorToString(const QVector<int> &values)
{
    QStringList texts;
    for (const int value : values)
        texts.append(QString::number(value));
    return inParentheses(texts);
}

QString QObjectHelper::stringVectorToString(const QVector<QString> &values)
{
    QStringList texts;
    for (const QString &value : values)
        texts.append(QLatin1Char('\'') + value + QLatin1Char('\''));
    return inParentheses(texts);
}
