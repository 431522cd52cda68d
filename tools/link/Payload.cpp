// SPDX-License-Identifier: Apache-2.0
#include "link/Payload.h"

#include "Helpers/JsonHelper.h"
#include "Internal/JsonWriter.h"

namespace Link {

namespace {
constexpr int indentation = 4; // blanks, Qt's

/// The end of the string that starts there: its closing quote.
const char *endOfString(const char *at)
{
    for (++at; *at != '"'; ++at) {
        if (*at == '\\')
            ++at;
    }
    return at;
}

/// Bytes of the same object on several lines. Only counted: deep within arrays, blanks are hundreds of times the rest.
/// @param compact as Qt writes it
qint64 sizeOnLines(const QByteArray &compact)
{
    qint64 size = compact.size() + 1; // and the end of the last line
    qint64 depth = 0;
    const char *const end = compact.constData() + compact.size();
    for (const char *at = compact.constData(); at < end; ++at) {
        if (*at == '"') {
            at = endOfString(at);
        } else if (*at == ':') {
            ++size; // a blank
        } else if (*at == ',') {
            size += 1 + indentation * depth;
        } else if (*at == '{' || *at == '[') {
            ++depth;
            ++size;
            if (at[1] != '}' && at[1] != ']')
                size += indentation * depth + 1; // the first value; the end of the last one's line
        } else if (*at == '}' || *at == ']') {
            --depth;
            size += indentation * depth;
        }
    }
    return size;
}
} // namespace

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
    const qint64 size = frameSize(sizeOnLines(document.toJson(QJsonDocument::Compact)));
    if (size <= maxFrame)
        return JsonHelper::toByteArray(document.object());
    *problem = QStringLiteral("a frame of %1 bytes, more than --max-frame allows").arg(size);
    return {};
}

QByteArray lineOf(const QByteArray &payload)
{
    const QJsonDocument document = JsonHelper::parse(payload);
    if (document.isObject())
        return document.toJson(QJsonDocument::Compact) + '\n';
    return JsonWriter().value(QString::fromUtf8(payload)).bytes() + '\n';
}

qint64 frameSize(qint64 payloadSize)
{
    return QByteArray::number(payloadSize).size() + payloadSize;
}

} // namespace Link
