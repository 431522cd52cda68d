// SPDX-License-Identifier: Apache-2.0
// Whatever bytes are read into an object: what is written of it afterwards must read back as the same object, and no
// memory is lost. Qt 5.15 loses that of values whose key stands twice; it must not get to see them.
#include "Helpers/JsonHelper.h"
#include "Helpers/QObjectHelper.h"
#include "Property.h"
#include "ReferenceJson.h"

#include <QJsonDocument>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

class Record : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(int, type, 0)
    VANTOR_PROPERTY(bool, isOn, false)
    VANTOR_PROPERTY(double, level, 0)
    VANTOR_PROPERTY(qlonglong, ticks, 0)
    VANTOR_PROPERTY(QString, text, {})
    VANTOR_PROPERTY(QStringList, names, {})
    VANTOR_PROPERTY(QVariantMap, map, {})
    VANTOR_PROPERTY(QVariantList, list, {})
    VANTOR_PROPERTY(QVariant, any, {})
    VANTOR_PROPERTY(QVariantList, jsonarray, {})
};

namespace {

void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepSilent);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    Record record;

    const bool isRead = JsonHelper::fromJson(bytes, &record);
    const bool isRefused = !isRead && ReferenceJson::namesAKeyTwice(bytes); // then Qt would lose memory here, too
    must(isRefused || isRead == !QJsonDocument::fromJson(bytes).isNull(),
        "an object or an array is read if no key stands twice, nothing else");

    const QByteArray written = JsonHelper::toByteArray(record);
    Record copy;
    must(JsonHelper::fromJson(written, &copy), "what was written is read");
    const QByteArray writtenAgain = JsonHelper::toByteArray(copy);
    if (writtenAgain != written)
        std::fprintf(stderr, "first %sthen %s", written.constData(), writtenAgain.constData());
    must(writtenAgain == written, "and gives the same text");
    must(QObjectHelper::propertyCount(&copy) == 10 && copy.dynamicPropertyNames().isEmpty(), "nothing was added");
    return 0;
}

#include "fuzz_json.moc"
