// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/FiberRealtimeAnalyser.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <QtTest>

#include <atomic>
#include <memory>

/// A hand at the application's window: finds items by name or text, waits for them, taps them, turns them by keys.
class ShellDriver
{
public:
    static constexpr int patience = 20000; ///< milliseconds, of which those count in which this process could work
    static constexpr double sharpFocus = 2.5; ///< above it the page captures

    explicit ShellDriver(QQuickWindow *window)
        : mWindow(window)
    {
        // From the rendering thread; as long as there is the window, for Qt loses what is disconnected meanwhile.
        if (mWindow)
            QObject::connect(
                mWindow, &QQuickWindow::frameSwapped, mWindow, [frames = mFrames] { ++*frames; }, Qt::DirectConnection);
    }

    QQuickWindow *window() const { return mWindow; }

    /// The first visible item with the object name or, else, with the text; null when there is none.
    QQuickItem *find(const QString &name) const { return find(mWindow->contentItem(), name); }

    /// Waits until the condition holds. Returns whether it came to that.
    template <typename Condition>
    static bool waitFor(Condition condition)
    {
        constexpr int turn = 10; // milliseconds
        for (int waited = 0; !condition(); waited += turn) {
            if (waited >= patience)
                return false;
            QTest::qWait(turn);
        }
        return true;
    }

    bool waitForItem(const QString &name) const
    {
        return waitFor([&] { return find(name) != nullptr; });
    }

    /// Taps the middle of the item, once the pages have come to rest. Returns false when it does not appear.
    bool tap(const QString &name) const
    {
        QQuickItem *item = nullptr;
        if (!waitForRest() || !waitFor([&] {
                item = find(name);
                return item && item->isEnabled();
            }))
            return false;
        tap(item);
        return true;
    }

    void tap(const QQuickItem *item) const
    {
        waitForFrame(); // or a row may not have placed its children yet
        QTest::mouseClick(mWindow, Qt::LeftButton, Qt::NoModifier,
            item->mapToScene({item->width() / 2, item->height() / 2}).toPoint());
    }

    /// Waits until no page moves any more.
    bool waitForRest() const
    {
        return waitFor([this] { return isAtRest(); });
    }

    bool isAtRest() const
    {
        const QQuickItem *const stack = find(QStringLiteral("stackView"));
        return stack && !stack->property("busy").toBool();
    }

    /// Waits until the inspection page has seen a new frame that is sharp.
    bool waitForSharpFrame() const
    {
        auto *const analyser = mWindow->findChild<FiberInspection::FiberRealtimeAnalyser *>();
        if (!analyser)
            return false;
        analyser->set_focusValue(-1); // what an earlier frame left behind
        return waitFor([analyser] { return analyser->focusValue() > sharpFocus; });
    }

    void press(Qt::Key key) const { QTest::keyClick(mWindow, key); }

    /// Waits until all is where it belongs, and drawn.
    void waitForFrame() const
    {
        const int before = *mFrames;
        waitFor([&] {
            mWindow->update();
            return *mFrames > before + 1;
        });
    }

private:
    static QQuickItem *find(QQuickItem *item, const QString &name)
    {
        if (!item->isVisible())
            return nullptr;
        if (item->objectName() == name || item->property("text").toString() == name)
            return item;
        const QList<QQuickItem *> children = item->childItems();
        for (QQuickItem *const child : children) {
            if (QQuickItem *const found = find(child, name))
                return found;
        }
        return nullptr;
    }

    QQuickWindow *const mWindow;
    const std::shared_ptr<std::atomic<int>> mFrames = std::make_shared<std::atomic<int>>(0);
};
