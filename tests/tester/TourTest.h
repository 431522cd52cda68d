// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JobTest.h"

#include <functional>

/// Base of the tests that look at every page: goes through the application as a technician would, and stops wherever
/// there is something else to be seen.
class TourTest : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

protected:
    using Visit = std::function<void(const QString &place)>;

    /// The texts of a job that its technician types.
    struct Words
    {
        QString job = QStringLiteral("Central office, row 3");
        QString customer = QStringLiteral("Müller & Söhne");
        QString note = QStringLiteral("known to the customer");
    };

    /// From home, through all pages, and home again. Each place has a name of its own, and is at rest when it is
    /// visited. Returns false when the way is barred; wayBarred() tells where.
    bool goThrough(const Words &words, const Visit &visit);
    QString wayBarred() const;

private:
    bool visitAboutAndNewJob(const Words &words);
    bool visitPorts(const Words &words);
    bool waitUntilFrozen() const;
    bool visitFailedPort(const Words &words);
    bool visitRepeatedPort();
    bool visitReport();
    bool visitStatistics();
    bool visitLists();
    bool visitResults();
    bool visitSettings();
    bool visitQuickInspection();
    bool visitQuickResult();
    bool visitWithoutScope();

    bool see(const char *place);
    bool settle() const;
    bool isPopupMoving() const;
    bool open(const char *name);
    bool leave() { return open("actionBack"); }
    bool showWithoutFibre();
    bool tapWords(const char *text) const;

    Visit mVisit;
    QString mPlace; // the last one that was visited
    QString mStep; // what was tapped last
};
