// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/PictureStore.h"
#include "Records/StoreFolder_p.h"
#include "Records/StoreLock_p.h"

#include <functional>
#include <memory>

class QThread;

namespace Records {

/// Asks whether to go on.
using GoesOn = std::function<bool(int done, int all)>;

/// All that a RecordStore holds while it is open. Each of its calls keeps it as well: a function that a call asks
/// whether to go on may destroy the RecordStore, and what the call stands on goes with the outermost one only.
struct OpenStore
{
    explicit OpenStore(const StoreFolder &place);
    ~OpenStore();
    OpenStore(const OpenStore &) = delete;
    OpenStore &operator=(const OpenStore &) = delete;

    void close();
    Problem whyNotWriting() const;

    /// The question for the calls of this store, never empty. The answer is no where the RecordStore is gone with it,
    /// and the function itself may have gone as well.
    GoesOn asking(const GoesOn &goesOn) const;

    const StoreFolder folder;
    const PictureStore pictures;
    QThread *const thread; ///< the only one that may use it
    std::unique_ptr<Database> database;
    std::shared_ptr<StoreLock> lock; ///< null: for reading only
    std::shared_ptr<void> use; ///< of the lock
    int calls = 0; ///< under way, one within the other
    bool isAbandoned = false; ///< the RecordStore is gone
};

} // namespace Records
