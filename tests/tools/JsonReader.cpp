#include "tests/tools/JsonReader.h"

#include <charconv>
#include <stdexcept>

namespace JY::Tools {

namespace {

class Reader {
public:
    explicit Reader(std::string_view document) : rest_(document) {}

    Json document() {
        Json result = value();
        skipSpace();
        if (!rest_.empty()) {
            refuse("something behind the end");
        }
        return result;
    }

private:
    [[noreturn]] void refuse(const std::string& why) const {
        throw std::runtime_error("no JSON, " + why + ": " + std::string(rest_.substr(0, 40)));
    }

    void skipSpace() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size())); }

    bool take(std::string_view text) {
        if (!rest_.starts_with(text)) {
            return false;
        }
        rest_.remove_prefix(text.size());
        return true;
    }

    void demand(std::string_view text) {
        skipSpace();
        if (!take(text)) {
            refuse("missing " + std::string(text));
        }
    }

    Json value() {
        skipSpace();
        Json result;
        if (rest_.starts_with('{')) {
            object(result);
        } else if (rest_.starts_with('[')) {
            array(result);
        } else if (rest_.starts_with('"')) {
            result.kind = Json::Kind::string;
            result.text = string();
        } else if (take("true") || take("false")) {
            result.kind = Json::Kind::boolean;
            result.yes = *(rest_.data() - 2) == 'u';
        } else if (!take("null")) {
            number(result);
        }
        return result;
    }

    void object(Json& result) {
        result.kind = Json::Kind::object;
        demand("{");
        skipSpace();
        if (take("}")) {
            return;
        }
        do {
            skipSpace();
            const std::string name = string();
            demand(":");
            if (!result.members.emplace(name, value()).second) {
                refuse("the same name twice: " + name);
            }
            skipSpace();
        } while (take(","));
        demand("}");
    }

    void array(Json& result) {
        result.kind = Json::Kind::array;
        demand("[");
        skipSpace();
        if (take("]")) {
            return;
        }
        do {
            result.items.push_back(value());
            skipSpace();
        } while (take(","));
        demand("]");
    }

    std::string string() {
        demand("\"");
        std::string text;
        while (!rest_.empty() && rest_.front() != '"') {
            if (static_cast<unsigned char>(rest_.front()) < 0x20) {
                refuse("a control character in a string");
            }
            text += take("\\") ? escaped() : one();
        }
        demand("\"");
        return text;
    }

    char one() {
        if (rest_.empty()) {
            refuse("an open string");
        }
        const char character = rest_.front();
        rest_.remove_prefix(1);
        return character;
    }

    char escaped() {
        const char character = one();
        if (character == '"' || character == '\\') {
            return character;
        }
        unsigned code = 0;
        const std::string_view digits = rest_.substr(0, 4);
        if (character != 'u' || digits.size() != 4 ||
            std::from_chars(digits.data(), digits.data() + 4, code, 16).ptr != digits.data() + 4 || code > 0x7F) {
            refuse("an escape that is not expected");
        }
        rest_.remove_prefix(4);
        return static_cast<char>(code);
    }

    void number(Json& result) {
        result.kind = Json::Kind::number;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), result.number);
        if (error != std::errc{}) {
            refuse("no value");
        }
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    }

    std::string_view rest_;
};

} // namespace

Json readJson(std::string_view document) {
    return Reader(document).document();
}

} // namespace JY::Tools
