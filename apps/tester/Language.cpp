// SPDX-License-Identifier: Apache-2.0
#include "Language.h"

#include <QCoreApplication>
#include <QDebug>
#include <QLocale>
#include <QQmlEngine>

namespace {
constexpr char german[] = "de";
constexpr char folder[] = ":/tester/translations";
} // namespace

Language::Language(QObject *parent)
    : QObject(parent)
{
    if (QLocale::system().language() == QLocale::German)
        setCurrent(QLatin1String(german));
}

Language::~Language()
{
    QCoreApplication::removeTranslator(&mTester);
    QCoreApplication::removeTranslator(&mLibrary);
}

void Language::setCurrent(const QString &language)
{
    if (language == mCurrent)
        return;
    QCoreApplication::removeTranslator(&mTester);
    QCoreApplication::removeTranslator(&mLibrary);
    mCurrent = language == QLatin1String(german) ? language : QStringLiteral("en"); // the texts of the sources
    if (mCurrent == QLatin1String(german)) {
        const QString path = QLatin1String(folder);
        if (!mLibrary.load(QStringLiteral("VantorBase_de"), path)
            || !mTester.load(QStringLiteral("VantorTester_de"), path))
            qWarning() << "the German texts are missing";
        QCoreApplication::installTranslator(&mLibrary);
        QCoreApplication::installTranslator(&mTester);
    }
    if (mEngine)
        mEngine->retranslate();
    Q_EMIT currentChanged(mCurrent);
}
