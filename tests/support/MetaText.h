// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMetaMethod>
#include <QMetaObject>
#include <QMetaProperty>
#include <QString>
#include <QStringList>

/// What a class declares to the meta-object system, inherited declarations left out, in the order of declaration.
namespace MetaText {

/// "signal type_changed(int value)"
inline QString ofMethod(const QMetaMethod &method)
{
    static constexpr const char *kinds[] = {"method", "signal", "slot", "constructor"};
    QStringList parameters;
    const QList<QByteArray> types = method.parameterTypes();
    const QList<QByteArray> names = method.parameterNames();
    for (int i = 0; i < types.size(); ++i)
        parameters << QString::fromUtf8(types[i] + ' ' + names[i]);
    return QStringLiteral("%1 %2(%3)")
        .arg(QLatin1String(kinds[method.methodType()]), QString::fromUtf8(method.name()),
            parameters.join(QStringLiteral(", ")));
}

inline QStringList ofMethods(const QMetaObject &meta)
{
    QStringList result;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        result << ofMethod(meta.method(i));
    return result;
}

/// "int type read write notify type_changed"
inline QStringList ofProperties(const QMetaObject &meta)
{
    QStringList result;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        QString text = QString::fromUtf8(property.typeName()) + QLatin1Char(' ') + QString::fromUtf8(property.name());
        if (property.isReadable())
            text += QStringLiteral(" read");
        if (property.isWritable())
            text += QStringLiteral(" write");
        if (property.hasNotifySignal())
            text += QStringLiteral(" notify ") + QString::fromUtf8(property.notifySignal().name());
        result << text;
    }
    return result;
}

} // namespace MetaText
