// SPDX-License-Identifier: Apache-2.0
#include "endface/EndfaceCommand.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-endface"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    const int code = runEndfaceCommand(QCoreApplication::arguments(), out, err);
    return code == EndfaceOk && out.status() != QTextStream::Ok ? EndfaceWriteError : code;
}
