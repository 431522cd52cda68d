// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <utility>

/// How many calls that its peer brought about an endpoint has on the stack. A receiver that runs an event loop lets the
/// peer bring about the next one, whose receiver does the same: without a limit the peer decides how deep the stack is.
class NestedCalls
{
public:
    static constexpr int most = 8; ///< then the endpoint takes no connection that would bring another

    /// @param onLimit called when the limit is reached, and when there are fewer again
    explicit NestedCalls(std::function<void()> onLimit = [] {})
        : mOnLimit(std::move(onLimit))
    {
    }

    bool areMost() const { return mCount >= most; }

private:
    friend class NestedCall;

    void enter()
    {
        ++mCount;
        if (areMost())
            mOnLimit();
    }
    void leave()
    {
        const bool wereMost = areMost();
        --mCount;
        if (wereMost && !areMost())
            mOnLimit();
    }

    int mCount = 0;
    const std::function<void()> mOnLimit;
};

/// One of them, while it lives. The endpoint may be destroyed meanwhile, and what it counts with it.
class NestedCall
{
public:
    explicit NestedCall(std::weak_ptr<NestedCalls> calls)
        : mCalls(std::move(calls))
    {
        if (const auto counted = mCalls.lock())
            counted->enter();
    }
    ~NestedCall()
    {
        if (const auto counted = mCalls.lock())
            counted->leave();
    }
    NestedCall(const NestedCall &) = delete;
    NestedCall &operator=(const NestedCall &) = delete;

private:
    const std::weak_ptr<NestedCalls> mCalls;
};
