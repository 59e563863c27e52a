#include "Sources/VersionInfo.h"

#include "Sources/L10n.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace pellaro {

namespace {

std::optional<std::string> text(const QJsonValue &value) {
    return value.isString() ? std::optional(value.toString().toStdString()) : std::nullopt;
}

/// JSON knows one kind of number only: 2.0 is the whole number 2, and 2.5 is none.
std::optional<std::int64_t> wholeNumber(const QJsonValue &value) {
    constexpr double beyondRange = 9223372036854775808.0; // 2^63
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!(number >= -beyondRange && number < beyondRange) || std::trunc(number) != number)
        return std::nullopt;
    return value.toInteger(static_cast<std::int64_t>(number)); // exact also where a double is not
}

} // namespace

FeedError::FeedError()
    : Error(L("The answer of the update server could not be read.", "Die Antwort des Update-Servers konnte nicht gelesen werden.")) {}

VersionInfo VersionInfo::decode(std::string_view json) {
    const auto document = QJsonDocument::fromJson(QByteArray(json.data(), static_cast<qsizetype>(json.size())));
    if (!document.isObject())
        throw FeedError();
    const QJsonObject feed = document.object();
    const auto version = text(feed.value("version"));
    const auto build = wholeNumber(feed.value("build"));
    const QJsonValue notes = feed.value("notes");
    if (!version || !build || !(notes.isString() || notes.isNull() || notes.isUndefined()))
        throw FeedError();
    return {*version, *build, text(notes)};
}

} // namespace pellaro
