// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <vector>

/// The objects of an output with one JSON object a line; an empty one for a line that is none.
std::vector<QJsonObject> jsonLines(const QByteArray &output);

/// What docs/inspect.schema.json has against the object; empty when nothing.
QString schemaViolation(const QJsonObject &object);

/// The same of docs/records.schema.json.
QString recordsSchemaViolation(const QJsonObject &object);
