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
    /// visited. Returns false, and tells where, when the way is barred.
    bool goThrough(const Words &words, const Visit &visit);

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
    bool open(const char *name) const { return tap(name) && settle(); }
    bool leave() const { return tap("actionBack") && settle(); }
    bool showWithoutFibre() const;
    bool tapWords(const char *text) const;

    Visit mVisit;
};
