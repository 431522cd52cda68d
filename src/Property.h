// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMutex>
#include <QObject>
#include <QString>

#include <atomic>

/// Declares one notifying property of a QObject: field, dirty flag, getter, setter, name and change signal.
///
/// `set_<name>()` stores the value and raises the dirty flag on every call, and emits `<name>_changed(value)` only when
/// the value differs from the stored one. Property lines open the class, right after Q_OBJECT: moc lists signals and
/// properties in the order of the lines. The macro ends in `private:`; go on with `public:`.
/// A type with a comma needs a `using` name, an initial value with a comma needs parentheses.
///
/// VANTOR_ATOMIC_PROPERTY may be read in any thread while its owner's thread writes it. VANTOR_LOCKED_PROPERTY may be
/// written in any thread as well; its signal is emitted without the lock, with the value of that call. It has no
/// `<name>_name()`.
///
/// @code
/// class Level : public QObject
/// {
///     Q_OBJECT
///     VANTOR_PROPERTY(double, microns, 0)
/// };
///
/// Level level;
/// QObject::connect(&level, &Level::microns_changed, [](double microns) { qInfo() << microns; });
/// level.set_microns(2.5); // prints it
/// level.set_microns(2.5); // does not
/// @endcode
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

#define VANTOR_ATOMIC_PROPERTY(Type, name, initial)                                                                    \
    Q_PROPERTY(Type name READ name WRITE set_##name NOTIFY name##_changed)                                             \
public:                                                                                                                \
    Type name() const { return m_##name; }                                                                             \
    void set_##name(const Type &value)                                                                                 \
    {                                                                                                                  \
        const Type newValue = value;                                                                                   \
        const bool changed = m_##name.exchange(newValue) != newValue;                                                  \
        m_##name##_dirty = true;                                                                                       \
        if (changed)                                                                                                   \
            Q_EMIT name##_changed(newValue);                                                                           \
    }                                                                                                                  \
    bool name##_dirty() const { return m_##name##_dirty; }                                                             \
    static QString name##_name() { return QStringLiteral(#name); }                                                     \
    Q_SIGNAL void name##_changed(Type value);                                                                          \
                                                                                                                       \
private:                                                                                                               \
    std::atomic<Type> m_##name{initial};                                                                               \
    std::atomic<bool> m_##name##_dirty{false};

#define VANTOR_LOCKED_PROPERTY(Type, name, initial)                                                                    \
    Q_PROPERTY(Type name READ name WRITE set_##name NOTIFY name##_changed)                                             \
public:                                                                                                                \
    Type name() const                                                                                                  \
    {                                                                                                                  \
        const QMutexLocker lock(&m_##name##_mutex);                                                                    \
        return m_##name;                                                                                               \
    }                                                                                                                  \
    void set_##name(const Type &value)                                                                                 \
    {                                                                                                                  \
        bool changed = false;                                                                                          \
        {                                                                                                              \
            const QMutexLocker lock(&m_##name##_mutex);                                                                \
            changed = m_##name != value;                                                                               \
            m_##name = value;                                                                                          \
            m_##name##_dirty = true;                                                                                   \
        }                                                                                                              \
        if (changed)                                                                                                   \
            Q_EMIT name##_changed(value);                                                                              \
    }                                                                                                                  \
    bool name##_dirty() const                                                                                          \
    {                                                                                                                  \
        const QMutexLocker lock(&m_##name##_mutex);                                                                    \
        return m_##name##_dirty;                                                                                       \
    }                                                                                                                  \
    Q_SIGNAL void name##_changed(Type value);                                                                          \
                                                                                                                       \
private:                                                                                                               \
    mutable QMutex m_##name##_mutex;                                                                                   \
    Type m_##name = initial;                                                                                           \
    bool m_##name##_dirty = false;
// clang-format on
