// SPDX-License-Identifier: Apache-2.0
// The receivers of the live filter's signals, in the pool thread and in this one, destroy the filter and its runnable,
// run event loops, or wait for each other's threads. A watchdog ends the program when two wait for each other.
#include "DrawnFibre.h"
#include "EndedThread.h"
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "LogCapture.h"
#include "NestedLoop.h"

#include <QPointer>
#include <QSemaphore>
#include <QThread>
#include <QVideoFrame>
#include <QVideoSurfaceFormat>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>

using FiberInspection::FiberRealtimeAnalyser;

namespace {
constexpr QVideoFrame::PixelFormat usualFormat = QVideoFrame::Format_NV12;

/// Ends the program unless it is destroyed in time: a deadlock leaves nobody who could fail the test.
class Watchdog
{
public:
    Watchdog()
        : mThread([this] {
            std::unique_lock<std::mutex> lock(mMutex);
            if (!mEnd.wait_for(lock, std::chrono::milliseconds(NestedLoop::patience), [this] { return mIsOver; })) {
                std::fprintf(stderr, "FAIL!  : %s: deadlock\n", QTest::currentTestFunction());
                std::_Exit(1);
            }
        })
    {
    }
    ~Watchdog()
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mIsOver = true;
        }
        mEnd.notify_all();
        mThread.join();
    }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    std::mutex mMutex;
    std::condition_variable mEnd;
    bool mIsOver = false;
    std::thread mThread;
};

/// The smallest face that the search finds. Most of the time under valgrind is spent on pixels.
QVideoFrame sharpFrame()
{
    DrawnFibre fibre;
    fibre.size = QSize(200, 150);
    fibre.center = QPointF(103, 78);
    fibre.claddingRadius = 155;
    const cv::Mat gray = fibre.gray();
    QVideoFrame frame(gray.cols * gray.rows * 3 / 2, fibre.size, gray.cols, usualFormat);
    if (frame.map(QAbstractVideoBuffer::WriteOnly)) {
        std::copy_n(gray.ptr(), gray.cols * gray.rows, frame.bits());
        frame.unmap();
    }
    return frame;
}

QVideoFrame show(const std::unique_ptr<QVideoFilterRunnable> &runnable, QVideoFrame frame = sharpFrame())
{
    return runnable->run(
        &frame, QVideoSurfaceFormat(frame.size(), frame.pixelFormat()), QVideoFilterRunnable::LastInChain);
}

/// A filter with the runnable that the video framework would have made.
struct LiveView
{
    QPointer<FiberRealtimeAnalyser> filter = new FiberRealtimeAnalyser;
    std::unique_ptr<QVideoFilterRunnable> runnable{filter->createFilterRunnable()};
    QObject receiver; // of this thread

    LiveView() = default;
    ~LiveView() { delete filter; }
    LiveView(const LiveView &) = delete;
    LiveView &operator=(const LiveView &) = delete;

    /// Calls the receiver on the signal with the name. Direct ones are called in the pool thread.
    void on(
        const QString &signalName, QObject *context, const std::function<void()> &hear, Qt::ConnectionType type) const
    {
        if (signalName == QStringLiteral("focus"))
            QObject::connect(
                filter, &FiberRealtimeAnalyser::focusValue_changed, context, [hear] { hear(); }, type);
        else
            QObject::connect(
                filter, &FiberRealtimeAnalyser::claddingPosition_changed, context, [hear] { hear(); }, type);
    }
};

/// A buffer whose mapping calls a function.
class CallingBuffer : public QAbstractVideoBuffer
{
public:
    explicit CallingBuffer(std::function<void()> call)
        : QAbstractVideoBuffer(NoHandle)
        , mCall(std::move(call))
        , mFrame(sharpFrame())
    {
    }
    MapMode mapMode() const override { return mMode; }
    uchar *map(MapMode mode, int *byteCount, int *bytesPerLine) override
    {
        mCall();
        if (!mFrame.map(ReadOnly))
            return nullptr;
        mMode = mode;
        *byteCount = mFrame.mappedBytes();
        *bytesPerLine = mFrame.bytesPerLine();
        return mFrame.bits();
    }
    void unmap() override
    {
        mFrame.unmap();
        mMode = NotMapped;
    }

private:
    const std::function<void()> mCall;
    QVideoFrame mFrame;
    MapMode mMode = NotMapped;
};

enum class Deed {
    DeleteFilter,
    DeleteFilterInLoop,
    DeleteFilterAfterLoop,
    DeleteRunnable,
    DeleteRunnableInLoop,
    DeleteBothInLoop,
    ShowFrameInLoop,
};

bool deletesFilter(Deed deed)
{
    return deed == Deed::DeleteFilter || deed == Deed::DeleteFilterInLoop || deed == Deed::DeleteFilterAfterLoop
        || deed == Deed::DeleteBothInLoop;
}
} // namespace

Q_DECLARE_METATYPE(Deed)

Q_DECLARE_METATYPE(std::function<void()>)

class TestReentrancyLive : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> mLog;

    static void addDeedRows()
    {
        QTest::addColumn<QString>("signalName");
        QTest::addColumn<Deed>("deed");
        for (const char *name : {"focus", "place"}) {
            const QString signalName = QString::fromUtf8(name);
            const auto row = [&](const char *text, Deed deed) {
                QTest::addRow("%s: %s", name, text) << signalName << deed;
            };
            row("the filter is deleted", Deed::DeleteFilter);
            row("the filter is deleted in a loop", Deed::DeleteFilterInLoop);
            row("the filter is deleted after a loop", Deed::DeleteFilterAfterLoop);
            row("the runnable is deleted", Deed::DeleteRunnable);
            row("the runnable is deleted in a loop", Deed::DeleteRunnableInLoop);
            row("both are deleted in a loop", Deed::DeleteBothInLoop);
            row("a frame is shown in a loop", Deed::ShowFrameInLoop);
        }
    }

    static void carryOut(Deed deed, LiveView &view, bool isOwnThread)
    {
        switch (deed) {
        case Deed::DeleteFilter:
            delete view.filter;
            break;
        case Deed::DeleteFilterInLoop:
            if (isOwnThread)
                QVERIFY(NestedLoop::runAndDelete(view.filter));
            else
                QVERIFY(NestedLoop::runWith([&] { delete view.filter; }));
            break;
        case Deed::DeleteFilterAfterLoop:
            QVERIFY(NestedLoop::runWith([] {}));
            delete view.filter;
            break;
        case Deed::DeleteRunnable:
            view.runnable.reset();
            break;
        case Deed::DeleteRunnableInLoop:
            QVERIFY(NestedLoop::runWith([&] { view.runnable.reset(); }));
            break;
        case Deed::DeleteBothInLoop:
            QVERIFY(NestedLoop::runWith([&] {
                view.runnable.reset();
                delete view.filter;
            }));
            break;
        case Deed::ShowFrameInLoop:
            QVERIFY(NestedLoop::runWith([&] { show(view.runnable); }));
            break;
        }
    }

private Q_SLOTS:
    void init() { mLog = std::make_unique<LogCapture>(); }

    void cleanup()
    {
        LiveView view; // whatever happened before: the next frame is analysed
        const Watchdog watchdog;
        while (view.filter->focusValue() < 0) {
            show(view.runnable);
            QThread::msleep(1);
        }
        mLog.reset();
    }

    void aReceiverInThePoolThreadMayDoAnything_data() { addDeedRows(); }
    void aReceiverInThePoolThreadMayDoAnything()
    {
        QFETCH(QString, signalName);
        QFETCH(Deed, deed);
        const Watchdog watchdog;
        LiveView view;
        QSemaphore done;
        const auto hear = [&] {
            carryOut(deed, view, false);
            done.release();
        };
        view.on(signalName, view.filter, hear, Qt::DirectConnection);

        show(view.runnable);

        QVERIFY(done.tryAcquire(1, NestedLoop::patience));
        if (view.runnable)
            view.runnable.reset(); // waits for the end
        QCOMPARE(view.filter.isNull(), deletesFilter(deed));
    }

    void aReceiverInThisThreadMayDoAnything_data() { addDeedRows(); }
    void aReceiverInThisThreadMayDoAnything()
    {
        QFETCH(QString, signalName);
        QFETCH(Deed, deed);
        for (const bool isOwnContext : {false, true}) {
            const Watchdog watchdog;
            LiveView view;
            bool isDone = false;
            const auto hear = [&] {
                if (isDone)
                    return;
                carryOut(deed, view, true);
                isDone = true;
            };
            QObject *const context = isOwnContext ? static_cast<QObject *>(view.filter) : &view.receiver;
            view.on(signalName, context, hear, Qt::QueuedConnection);

            show(view.runnable);

            QVERIFY(NestedLoop::runUntil([&] { return isDone; }));
            QCOMPARE(view.filter.isNull(), deletesFilter(deed));
        }
    }

    void aReceiverThatThisThreadAnswersDoesNotHoldUpItsEnd_data()
    {
        QTest::addColumn<QString>("signalName");
        QTest::addColumn<bool>("filterGoes");
        QTest::addColumn<bool>("runnableGoes");
        QTest::addColumn<bool>("inTheAnswer");
        for (const char *name : {"focus", "place"}) {
            const QString signalName = QString::fromUtf8(name);
            QTest::addRow("%s: both go before the answer", name) << signalName << true << true << false;
            QTest::addRow("%s: both go in the answer", name) << signalName << true << true << true;
        }
        const QString focus = QStringLiteral("focus");
        QTest::newRow("the filter goes before the answer") << focus << true << false << false;
        QTest::newRow("the filter goes in the answer") << focus << true << false << true;
        QTest::newRow("the runnable goes before the answer") << focus << false << true << false;
        QTest::newRow("the runnable goes in the answer") << focus << false << true << true;
    }
    void aReceiverThatThisThreadAnswersDoesNotHoldUpItsEnd()
    {
        QFETCH(QString, signalName);
        QFETCH(bool, filterGoes);
        QFETCH(bool, runnableGoes);
        QFETCH(bool, inTheAnswer);
        const Watchdog watchdog;
        LiveView view;
        const auto end = [&] {
            if (runnableGoes)
                view.runnable.reset();
            if (filterGoes)
                delete view.filter;
        };
        QSemaphore entered;
        std::atomic<bool> isAnswered{false};
        view.on(
            signalName, view.filter, [&] { entered.release(); }, Qt::DirectConnection);
        view.on(
            signalName, &view.receiver,
            [&] {
                if (inTheAnswer)
                    end();
                isAnswered = true;
            },
            Qt::BlockingQueuedConnection);

        show(view.runnable);
        QVERIFY(entered.tryAcquire(1, NestedLoop::patience));
        if (!inTheAnswer)
            end();

        // A call that the pool thread had not yet made when the filter went is never made.
        NestedLoop::runUntil([&] { return isAnswered || !view.filter; });
        QVERIFY(isAnswered || !view.filter);
        QCOMPARE(view.filter.isNull(), filterGoes);
    }

    void aReceiverThatDestroysTheRunnableMayAskThisThread()
    {
        const Watchdog watchdog;
        LiveView view;
        bool isAnswered = false;
        const auto hear = [&] {
            view.runnable.reset();
            QMetaObject::invokeMethod(
                &view.receiver, [&] { isAnswered = true; }, Qt::BlockingQueuedConnection);
        };
        view.on(QStringLiteral("focus"), view.filter, hear, Qt::DirectConnection);

        show(view.runnable);

        QVERIFY(NestedLoop::runUntil([&] { return isAnswered; }));
    }

    void aReceiverMayHaveTheRunnableDestroyedElsewhere()
    {
        const Watchdog watchdog;
        LiveView view;
        QSemaphore done;
        const auto hear = [&] {
            std::thread([&] { view.runnable.reset(); }).join();
            done.release();
        };
        view.on(QStringLiteral("focus"), view.filter, hear, Qt::DirectConnection);

        show(view.runnable);

        QVERIFY(done.tryAcquire(1, NestedLoop::patience));
    }

    void aLoopInThePoolThreadThatThisThreadEndsDoesNotHoldUpItsEnd_data()
    {
        QTest::addColumn<bool>("filterGoes");
        QTest::newRow("the filter goes") << true;
        QTest::newRow("the runnable goes") << false;
    }
    void aLoopInThePoolThreadThatThisThreadEndsDoesNotHoldUpItsEnd()
    {
        QFETCH(bool, filterGoes);
        const Watchdog watchdog;
        LiveView view;
        QSemaphore entered;
        QSemaphore left;
        std::atomic<bool> mayLeave{false};
        const auto hear = [&] {
            entered.release();
            NestedLoop::runUntil([&] { return mayLeave.load(); });
            left.release();
        };
        view.on(QStringLiteral("focus"), view.filter, hear, Qt::DirectConnection);
        show(view.runnable);
        QVERIFY(entered.tryAcquire(1, NestedLoop::patience));

        if (filterGoes)
            delete view.filter;
        else
            view.runnable.reset();
        mayLeave = true;

        QVERIFY(left.tryAcquire(1, NestedLoop::patience));
    }

    // The next frame is analysed all the same, see cleanup().
    void aReceiverInThePoolThreadMayEndInAnyWay_data()
    {
        QTest::addColumn<std::function<void()>>("end");
        const auto row = [](const char *name, const std::function<void()> &end) { QTest::newRow(name) << end; };
        row("throws an exception", [] { throw std::runtime_error("receiver failed"); });
        row("throws what is no exception", [] { throw 5; });
        row("throws out of an event loop's end", [] {
            NestedLoop::runUntil([] { return true; });
            throw std::bad_alloc();
        });
        row("quits its thread", [] { QThread::currentThread()->quit(); });
        row("quits the application", [] { QCoreApplication::quit(); });
        row("asks an object that is destroyed instead of answering", [] {
            auto *const object = new QObject;
            QThread silent;
            silent.start();
            object->moveToThread(&silent);
            silent.quit();
            silent.wait();
            std::thread destroyer([object] {
                QThread::msleep(20);
                delete object;
            });
            QMetaObject::invokeMethod(
                object, [] {}, Qt::BlockingQueuedConnection);
            destroyer.join();
        });
    }
    void aReceiverInThePoolThreadMayEndInAnyWay()
    {
        QFETCH(std::function<void()>, end);
        const Watchdog watchdog;
        LiveView view;
        QSemaphore called;
        const auto hear = [&] {
            called.release();
            end();
        };
        view.on(QStringLiteral("focus"), view.filter, hear, Qt::DirectConnection);

        show(view.runnable);

        QVERIFY(called.tryAcquire(1, NestedLoop::patience));
        view.runnable.reset(); // waits for the end
        QVERIFY(view.filter);
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
        QCoreApplication::exec(); // or no later test could run a loop, when the receiver has quit
    }

    // As often as there are threads, and once more.
    void aThreadThatAReceiverEndsIsReplaced_data()
    {
        QTest::addColumn<bool>("isCancelled");
        QTest::newRow("it ends itself") << false;
        QTest::newRow("it is cancelled") << true;
    }
    void aThreadThatAReceiverEndsIsReplaced()
    {
        QFETCH(bool, isCancelled);
        for (int i = 0; i < 3; ++i) {
            const Watchdog watchdog;
            LiveView view;
            QSemaphore called;
            const auto hear = [&] {
                called.release();
                if (isCancelled)
                    pthread_cancel(pthread_self()); // and ends where it waits next
                else
                    EndedThread::end();
            };
            view.on(QStringLiteral("focus"), view.filter, hear, Qt::DirectConnection);

            show(view.runnable);

            QVERIFY(called.tryAcquire(1, NestedLoop::patience));
            view.runnable.reset(); // waits for the end
            QVERIFY(view.filter);
        }
    }

    void aReceiverThatBlocksThisThreadDoesNotHoldUpTheEndElsewhere()
    {
        const Watchdog watchdog;
        LiveView view;
        bool isDone = false;
        const auto hear = [&] {
            std::thread([&] { // all that this thread does is wait
                view.runnable.reset();
                delete view.filter;
            })
                .join();
            isDone = true;
        };
        view.on(QStringLiteral("focus"), &view.receiver, hear, Qt::QueuedConnection);

        show(view.runnable);

        QVERIFY(NestedLoop::runUntil([&] { return isDone; }));
        QVERIFY(!view.filter);
    }

    void theMappingOfAFrameMayDestroyTheRunnable_data()
    {
        QTest::addColumn<bool>("inLoop");
        QTest::newRow("at once") << false;
        QTest::newRow("in a loop") << true;
    }
    void theMappingOfAFrameMayDestroyTheRunnable()
    {
        QFETCH(bool, inLoop);
        const Watchdog watchdog;
        LiveView view;
        const auto destroy = [&] { view.runnable.reset(); };
        QVideoFrame frame(new CallingBuffer([&] {
            if (inLoop)
                NestedLoop::runWith(destroy);
            else
                destroy();
        }),
            QSize(200, 150), usualFormat);

        QVERIFY(show(view.runnable, frame) == frame);

        QVERIFY(!view.runnable);
    }

    void theEndOfAThreadThatMapsAFrameIsNoException()
    {
        const ForkedChild child = EndedThread::run([] {
            FiberRealtimeAnalyser filter;
            const std::unique_ptr<QVideoFilterRunnable> runnable(filter.createFilterRunnable());
            QVideoFrame frame(new CallingBuffer(&EndedThread::end), {800, 600}, QVideoFrame::Format_NV12);
            runnable->run(&frame, QVideoSurfaceFormat(), QVideoFilterRunnable::LastInChain);
        });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }
};

QTEST_GUILESS_MAIN(TestReentrancyLive)
#include "tst_reentrancy_live.moc"
