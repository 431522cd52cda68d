// SPDX-License-Identifier: Apache-2.0
#include "focus/FilterLog.h"

#include "common/Terminal.h"

#include <QLoggingCategory>
#include <QMutex>

#include <unistd.h>

namespace Focus {

namespace {
struct Warnings
{
    QMutex mutex;
    QStringList texts;
    bool echo = false;
};

Warnings &warnings()
{
    static Warnings kept;
    return kept;
}

void keep(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const QMutexLocker lock(&warnings().mutex);
    if (type == QtWarningMsg)
        warnings().texts.append(text);
    if (warnings().echo || type == QtFatalMsg)
        Tools::Terminal::write(STDERR_FILENO, (Tools::Terminal::printable(text) + QLatin1Char('\n')).toUtf8());
}
} // namespace

void FilterLog::install(bool echo)
{
    warnings().echo = echo;
    if (!echo)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    qInstallMessageHandler(keep);
}

QStringList FilterLog::takeWarnings()
{
    const QMutexLocker lock(&warnings().mutex);
    QStringList texts;
    texts.swap(warnings().texts);
    return texts;
}

} // namespace Focus
