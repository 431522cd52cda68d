// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>

/// Declares one notifying property of a QObject: field, dirty flag, getter, setter, name and change signal.
///
/// `set_<name>()` stores the value and raises the dirty flag on every call, and emits `<name>_changed(value)` only when
/// the value differs from the stored one. Property lines open the class, right after Q_OBJECT: moc lists signals and
/// properties in the order of the lines. The macro ends in `private:`; go on with `public:`.
/// A type with a comma needs a `using` name, an initial value with a comma needs parentheses.
// clang-format off
#define VANTOR_PROPERTY(Type, name, initial)                                                                           \
    Q_PROPERTY(Type name READ name WRITE set_##name NOTIFY name##_changed)                                             \
public:                                                                                                                \
    Type name() const { return m_##name; }                                                                             \
    void set_##name(const Type &value)                                                                                 \
    {                                                                                                                  \
        const bool changed = m_##name != value;                                                                        \
        m_##name = value;                                                                                              \
        m_##name##_dirty = true;                                                                                       \
        if (changed)                                                                                                   \
            Q_EMIT name##_changed(m_##name);                                                                           \
    }                                                                                                                  \
    bool name##_dirty() const { return m_##name##_dirty; }                                                             \
    static QString name##_name() { return QStringLiteral(#name); }                                                     \
    Q_SIGNAL void name##_changed(Type value);                                                                          \
                                                                                                                       \
private:                                                                                                               \
    Type m_##name = initial;                                                                                           \
    bool m_##name##_dirty = false;
// clang-format on
