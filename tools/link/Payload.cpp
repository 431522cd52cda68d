// SPDX-License-Identifier: Apache-2.0
#include "Payload.h"

#include "Helpers/JsonHelper.h"
#include "JsonWriter.h"

namespace Link {

QByteArray payloadOf(const QByteArray &line, int maxFrame, QString *problem)
{
    QJsonParseError error{};
    QString reason;
    const QJsonDocument document = JsonHelper::parse(line, &error, &reason);
    if (document.isArray()) {
        *problem = QStringLiteral("an array cannot be sent, only an object");
        return {};
    }
    if (!document.isObject()) {
        *problem = QStringLiteral("no JSON object: %1, at byte %2").arg(reason).arg(error.offset);
        return {};
    }
    const QByteArray payload = JsonHelper::toByteArray(document.object());
    const qint64 size = frameSize(payload.size());
    if (size <= maxFrame)
        return payload;
    *problem = QStringLiteral("a frame of %1 bytes, more than --max-frame allows").arg(size);
    return {};
}

QByteArray lineOf(const QByteArray &payload)
{
    const QJsonDocument document = JsonHelper::parse(payload);
    if (document.isObject())
        return document.toJson(QJsonDocument::Compact) + '\n';
    return Tools::JsonWriter().value(QString::fromUtf8(payload)).bytes() + '\n';
}

qint64 frameSize(int payloadSize)
{
    return QByteArray::number(payloadSize).size() + qint64(payloadSize);
}

} // namespace Link
