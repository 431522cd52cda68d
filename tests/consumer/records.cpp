// SPDX-License-Identifier: Apache-2.0
// Stores an inspection and reads it again.
#include <QCoreApplication>
#include <QTemporaryDir>

#include <Records/RecordStore.h>

#include <cstdio>

using namespace FiberInspection;
using namespace Records;

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    RecordStore store;
    const Opening opening = store.open(folder.path());
    const Inspection missing = inspectFile(QStringLiteral("/nowhere"), Standard::IEC61300_3_35_SM_RL45);
    const Answer<Id> id = store.addInspection(Origin(), missing, QByteArray("what stands for a picture"));
    const Answer<StoredInspection> stored = store.inspection(id.value);
    std::puts(qPrintable(opening.problem.text + id.problem.text + stored.problem.text));
    const bool isRight = opening.how == Opened::Begun && stored.ok()
        && stored.value.reason == Inspection::Reason::FileMissing && stored.value.isPictureThere;
    return isRight ? 0 : 1;
}
