// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLoggingCategory>

namespace FiberInspection {

/// Lets what one thread has to say go to another category than Qt's default one, for as long as the object lives.
class LogScope
{
public:
    explicit LogScope(const QLoggingCategory &category)
        : mFormer(current)
    {
        current = &category;
    }
    ~LogScope() { current = mFormer; }
    LogScope(const LogScope &) = delete;
    LogScope &operator=(const LogScope &) = delete;

    static const QLoggingCategory &category() { return current ? *current : *QLoggingCategory::defaultCategory(); }

private:
    static inline thread_local const QLoggingCategory *current = nullptr;

    const QLoggingCategory *mFormer;
};

/// For qCDebug and its kin: unlike qDebug(), they build no text for a level that is switched off.
inline const QLoggingCategory &messageLog()
{
    return LogScope::category();
}

} // namespace FiberInspection
