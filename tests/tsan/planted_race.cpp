// SPDX-License-Identifier: Apache-2.0
// Two threads count in one plain variable: a race on purpose. With an argument they take turns, by Qt's own means.
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <atomic>
#include <memory>

int main(int argc, char ** /*argv*/)
{
    constexpr int rounds = 200000;
    const bool isGuarded = argc > 1;
    QMutex mutex;
    int counter = 0;
    std::atomic<int> ready{0};
    const auto count = [&] {
        // What one has counted must not be visible to the other by the way the thread was started.
        for (++ready; ready < 2;)
            QThread::yieldCurrentThread();
        for (int i = 0; i < rounds; ++i) {
            const std::unique_ptr<QMutexLocker> lock = isGuarded ? std::make_unique<QMutexLocker>(&mutex) : nullptr;
            ++counter;
        }
    };

    const std::unique_ptr<QThread> other(QThread::create(count));
    other->start();
    count();
    other->wait();
    return counter > 0 ? 0 : 1;
}
