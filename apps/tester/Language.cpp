// SPDX-License-Identifier: Apache-2.0
#include "Language.h"

#include <QCoreApplication>
#include <QDebug>
#include <QLocale>
#include <QQmlEngine>

#include <functional>

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

void Language::setEngine(QQmlEngine *engine)
{
    mEngine = engine;
}

void Language::setCurrent(const QString &language)
{
    if (language == mCurrent)
        return;
    mCurrent = language == QLatin1String(german) ? language : QStringLiteral("en"); // the texts of the sources
    const bool hasTexts = mCurrent == QLatin1String(german);
    const std::function<void()> steps[] = {
        [this] { QCoreApplication::removeTranslator(&mTester); },
        [this] { QCoreApplication::removeTranslator(&mLibrary); },
        [this, hasTexts] {
            if (hasTexts)
                loadTexts();
        },
        [this, hasTexts] {
            if (hasTexts)
                QCoreApplication::installTranslator(&mLibrary);
        },
        [this, hasTexts] {
            if (hasTexts)
                QCoreApplication::installTranslator(&mTester);
        },
        [this] {
            if (mEngine)
                mEngine->retranslate();
        },
    };
    const QPointer<Language> self(this);
    const int change = ++mChanges;
    for (const std::function<void()> &step : steps) {
        step();
        if (!self || mChanges != change) // the application is told of each, and may choose again, or end all this
            return;
    }
    Q_EMIT currentChanged(mCurrent);
}

void Language::loadTexts()
{
    const QString path = QLatin1String(folder);
    if (!mLibrary.load(QStringLiteral("VantorBase_de"), path) || !mTester.load(QStringLiteral("VantorTester_de"), path))
        qWarning() << "the German texts are missing";
}
