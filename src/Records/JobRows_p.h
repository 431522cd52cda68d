// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/Record.h"

/// Jobs and points in the tables. What changes them runs within a transaction of the caller.
namespace Records::JobRows {

/// @param job receives what the store gives to it
Problem add(Database &database, Job *job);
Problem update(Database &database, const Job &job);
Answer<Job> one(const Database &database, Id id);
Answer<Job> withIdentity(const Database &database, const QUuid &identity);
Answer<QVector<Job>> some(const Database &database, const Page &page);

Problem addPoints(Database &database, Id job, const QVector<QString> &names, const PointRun &run);
Answer<QVector<Point>> points(const Database &database, Id job);

/// Of a point whose last inspection ended so.
PointState stateOf(Verdict verdict, Decision decision);
Answer<JobProgress> progress(const Database &database, Id job);

} // namespace Records::JobRows
