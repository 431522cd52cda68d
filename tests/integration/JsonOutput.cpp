// SPDX-License-Identifier: Apache-2.0
#include "JsonOutput.h"

#include <QFile>
#include <QJsonDocument>

#include <valijson/adapters/qtjson_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <map>
#include <string>

namespace {
/// Read once. A schema that cannot be read accepts nothing.
const valijson::Schema &schemaOf(const char *path)
{
    static std::map<std::string, valijson::Schema> schemas;
    const auto found = schemas.find(path);
    if (found != schemas.end())
        return found->second;
    QFile file(QString::fromUtf8(path));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no schema: %s", path);
    const QJsonValue document = QJsonDocument::fromJson(file.readAll()).object();
    valijson::Schema &parsed = schemas[path];
    const valijson::adapters::QtJsonAdapter adapter(document);
    valijson::SchemaParser().populateSchema(adapter, parsed);
    return parsed;
}

QString violationOf(const valijson::Schema &schema, const QJsonObject &object)
{
    const QJsonValue value(object);
    const valijson::adapters::QtJsonAdapter target(value);
    valijson::ValidationResults results;
    if (valijson::Validator().validate(schema, target, &results))
        return {};

    QStringList texts{QStringLiteral("refused")};
    valijson::ValidationResults::Error error;
    while (results.popError(error)) {
        std::string place;
        for (const std::string &part : error.context)
            place += part;
        texts.append(QString::fromStdString(place + ": " + error.description));
    }
    return texts.join(QLatin1Char('\n'));
}
} // namespace

std::vector<QJsonObject> jsonLines(const QByteArray &output)
{
    std::vector<QJsonObject> objects;
    for (int start = 0; start < output.size();) {
        const int lineEnd = output.indexOf('\n', start);
        const int end = lineEnd < 0 ? output.size() : lineEnd;
        objects.push_back(QJsonDocument::fromJson(output.mid(start, end - start)).object());
        start = end + 1;
    }
    return objects;
}

QString schemaViolation(const QJsonObject &object)
{
    return violationOf(schemaOf(VANTOR_INSPECT_SCHEMA), object);
}

QString recordsSchemaViolation(const QJsonObject &object)
{
    return violationOf(schemaOf(VANTOR_RECORDS_SCHEMA), object);
}
