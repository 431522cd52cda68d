// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

/// The store of the user when no other is asked for.
QString usualStore();

/// Tells the problem.
/// @return the exit code of the program
int tell(const Records::Problem &problem);

/// Opens the store, and tells what is in the way.
/// @return Done, or what the program has to end with
int openToRead(const QString &folder, Records::RecordStore *store);

/// @param atLeast the exit code when all else is well: NotAnswered where a damaged store was kept aside, with its
/// verdicts
int openToWrite(const QString &folder, Records::RecordStore *store, int *atLeast);

/// The filter of the options with their job.
/// @return Done, or what the program has to end with: there is no such job, or several, and that was told
int filterOf(const Options &options, const Records::RecordStore &store, Records::Filter *filter);

/// Where the store keeps a picture.
QString picturePath(const QString &store, const QByteArray &hash);

/// All jobs of that name, the latest first.
Records::Answer<QVector<Records::Job>> jobsNamed(const Records::RecordStore &store, const QString &name);

/// All ids that the filter lets through, the oldest first.
Records::Answer<QVector<Records::Id>> idsOf(const Records::RecordStore &store, const Records::Filter &filter);

/// "there are 2 jobs of that name: 7, 3; choose one with --job-id"
QString ambiguity(const QVector<Records::Job> &jobs);

} // namespace RecordsTool
