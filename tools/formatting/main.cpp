// SPDX-License-Identifier: Apache-2.0
#include "FormattingDocument.h"
#include "Terminal.h"

#include <QCoreApplication>

#include <cstdio>

namespace {
enum ExitCode : int { Written = 0, NotMade = 1, NotWritten = 74 };
} // namespace

/// Writes the document to stdout.
int main(int argc, char *argv[])
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C");
    qputenv("QT_LOGGING_RULES", "*=false"); // what functions find fault with is meant to be shown
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-formatting"));

    QString problem;
    const QByteArray document = formattingDocument(&problem).toUtf8();
    if (document.isEmpty()) {
        Tools::Terminal::tell(problem);
        return NotMade;
    }
    const auto size = static_cast<std::size_t>(document.size());
    const bool isWritten = std::fwrite(document.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    return isWritten ? Written : NotWritten;
}
