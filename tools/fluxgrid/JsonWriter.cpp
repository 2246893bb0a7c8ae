#include "JsonWriter.h"

#include "Format.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <stdexcept>

namespace fluxgrid::tool {

namespace {

constexpr std::size_t kIndentStep = 2;

// A scalar as `dump` writes it, with the same escaping of strings.
std::string dumped(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

bool isValidUtf8(std::string_view text) {
    try {
        (void)nlohmann::json(std::string(text)).dump();
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

void JsonWriter::newLine() {
    m_out << '\n';
    m_indent.assign(m_open.size() * kIndentStep, ' ');
    m_out << m_indent;
}

void JsonWriter::beforeValue() {
    if (m_open.empty()) {
        return;
    }
    Open& open = m_open.back();
    if (open.object) {
        return;
    }
    if (open.members++ > 0) {
        m_out << ',';
    }
    newLine();
}

void JsonWriter::key(std::string_view name) {
    if (m_open.empty() || !m_open.back().object) {
        throw std::logic_error("a JSON key outside an object");
    }
    if (m_open.back().members++ > 0) {
        m_out << ',';
    }
    newLine();
    m_out << dumped(std::string(name)) << ": ";
}

void JsonWriter::beginObject() {
    beforeValue();
    m_out << '{';
    m_open.push_back({true, 0});
}

void JsonWriter::beginArray() {
    beforeValue();
    m_out << '[';
    m_open.push_back({false, 0});
}

void JsonWriter::close(char bracket) {
    const Open open = m_open.back();
    m_open.pop_back();
    if (open.members > 0) {
        newLine();
    }
    m_out << bracket;
}

void JsonWriter::endObject() {
    if (m_open.empty() || !m_open.back().object) {
        throw std::logic_error("no JSON object to close");
    }
    close('}');
}

void JsonWriter::endArray() {
    if (m_open.empty() || m_open.back().object) {
        throw std::logic_error("no JSON array to close");
    }
    close(']');
}

void JsonWriter::scalar(const std::string& text) {
    beforeValue();
    m_out << text;
}

void JsonWriter::string(std::string_view text) {
    scalar(dumped(std::string(text)));
}

void JsonWriter::integer(std::int64_t value) {
    scalar(dumped(value));
}

void JsonWriter::unsignedInteger(std::uint64_t value) {
    scalar(dumped(value));
}

// JSON has no digits for NaN and the infinities; dump writes null for them.
void JsonWriter::real(double value) {
    scalar(std::isfinite(value) ? shortestNumber(value) : "null");
}

void JsonWriter::boolean(bool value) {
    scalar(value ? "true" : "false");
}

void JsonWriter::null() {
    scalar("null");
}

}  // namespace fluxgrid::tool
