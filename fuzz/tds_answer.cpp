// What a server answers, through the real driver manager and the real driver: whatever columns,
// rows, errors and changes it tells of, cut off anywhere, the engine gives values or an error.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/connection.h"
#include "ado/connection_string.h"
#include "ado/engine.h"
#include "ado/error.h"
#include "ado/recordset.h"
#include "engines/odbc/engine.h"
#include "fuzz/target.h"
#include "fuzz/tds_server.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::fuzz {
namespace {

using namespace std::string_view_literals;

// --- What a server says
// ----------------------------------------------------------------------------

constexpr auto kCollation = "\x09\4\xd0\0\x34"sv;

enum class Length { kFixed, kByte, kShort, kParts, kPointer, kLong };

// A type as columns are described, how values of it tell their length, and a usual length of one.
struct Type {
  std::string_view description;
  bool has_collation = false;
  bool has_table = false;
  Length length = Length::kByte;
  std::size_t usual = 0;
};

constexpr std::array kTypes{
    Type{"\x26\1"sv, false, false, Length::kByte, 1},  // integers
    Type{"\x26\2"sv, false, false, Length::kByte, 2},
    Type{"\x26\4"sv, false, false, Length::kByte, 4},
    Type{"\x26\x08"sv, false, false, Length::kByte, 8},
    Type{"\x30"sv, false, false, Length::kFixed, 1},
    Type{"\x34"sv, false, false, Length::kFixed, 2},
    Type{"\x38"sv, false, false, Length::kFixed, 4},
    Type{"\x7f"sv, false, false, Length::kFixed, 8},
    Type{"\x68\1"sv, false, false, Length::kByte, 1},  // bits
    Type{"\x32"sv, false, false, Length::kFixed, 1},
    Type{"\x6d\4"sv, false, false, Length::kByte, 4},  // numbers
    Type{"\x6d\x08"sv, false, false, Length::kByte, 8},
    Type{"\x6e\x08"sv, false, false, Length::kByte, 8},
    Type{"\x6a\x11\x12\2"sv, false, false, Length::kByte, 17},
    Type{"\x6c\x11\x26\x26"sv, false, false, Length::kByte, 17},
    Type{"\x6f\4"sv, false, false, Length::kByte, 4},  // times
    Type{"\x6f\x08"sv, false, false, Length::kByte, 8},
    Type{"\x28"sv, false, false, Length::kByte, 3},
    Type{"\x29\7"sv, false, false, Length::kByte, 5},
    Type{"\x2a\7"sv, false, false, Length::kByte, 8},
    Type{"\x2b\7"sv, false, false, Length::kByte, 10},
    Type{"\x24\x10"sv, false, false, Length::kByte, 16},   // a GUID
    Type{"\xe7\xc8\0"sv, true, false, Length::kShort, 6},  // texts
    Type{"\xe7\xff\xff"sv, true, false, Length::kParts, 6},
    Type{"\xef\x0a\0"sv, true, false, Length::kShort, 10},
    Type{"\xa7\x64\0"sv, true, false, Length::kShort, 3},
    Type{"\xa7\xff\xff"sv, true, false, Length::kParts, 3},
    Type{"\xaf\x0a\0"sv, true, false, Length::kShort, 10},
    Type{"\x63\xff\xff\xff\x7f"sv, true, true, Length::kPointer, 6},
    Type{"\x23\xff\xff\xff\x7f"sv, true, true, Length::kPointer, 3},
    Type{"\xa5\x64\0"sv, false, false, Length::kShort, 8},  // bytes
    Type{"\xa5\xff\xff"sv, false, false, Length::kParts, 8},
    Type{"\xad\x08\0"sv, false, false, Length::kShort, 8},
    Type{"\x22\xff\xff\xff\x7f"sv, false, true, Length::kPointer, 8},
    Type{"\xf1\0"sv, false, false, Length::kParts, 6},           // XML
    Type{"\x62\x49\x1f\0\0"sv, false, false, Length::kLong, 6},  // a variant
};

std::string number(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

class Script {
 public:
  explicit Script(Input& input) : input_(input) {}

  std::deque<TdsServer::Answer> answers() {
    std::deque<TdsServer::Answer> all;
    while (!input_.empty() && all.size() < 12) all.push_back(answer());
    return all;
  }

 private:
  TdsServer::Answer answer() {
    std::string tokens;
    const std::size_t how = input_.choice(16);
    for (std::size_t count = 1 + input_.choice(8); count > 0; --count) tokens += token();
    if (how == 15) {
      const std::size_t size = input_.byte() * (input_.choice(4) + 1);
      return {tokens.substr(0, std::min(size, tokens.size())), true};
    }
    if (how != 13) tokens += "\xfd\0\0\0\0\0\0\0\0\0\0\0\0"sv;
    return {tokens, how == 13};
  }

  std::string token() {
    switch (input_.choice(16)) {
      case 0:
      case 1:
        return description();
      case 2:
      case 3:
      case 4:
      case 5:
      case 6:
        return row();
      case 7:
        return row_with_nulls();
      case 8:
        return done();
      case 9:
        return message('\xaa');
      case 10:
        return message('\xab');
      case 11:
        return change();
      case 12:
        return "\x79" + number(static_cast<std::uint64_t>(input_.integer()), 4);
      case 13:
        return output();
      default:
        return with_length('\xa9', std::string(input_.piece()));
    }
  }

  std::string with_length(char kind, const std::string& content) {
    return kind + number(content.size(), 2) + content;
  }

  std::string short_text() {
    const std::string_view piece = input_.piece();
    std::string units(piece.substr(0, piece.size() / 2 * 2));
    return number(units.size() / 2, 1) + units;
  }
  std::string long_text() {
    const std::string_view piece = input_.piece();
    std::string units(piece.substr(0, piece.size() / 2 * 2));
    return number(units.size() / 2, 2) + units;
  }

  std::string name() {
    constexpr std::array kNames{u"ReportName"sv, u"Title"sv,   u"SoftLock"sv,    u"RowVersion"sv,
                                u"CompID"sv,     u"Created"sv, u"COLUMN_NAME"sv, u""sv};
    const std::size_t which = input_.choice(kNames.size() + 1);
    if (which == kNames.size()) return short_text();
    std::string units;
    for (const char16_t unit : kNames[which]) units += number(unit, 2);
    return number(units.size() / 2, 1) + units;
  }

  std::string type_info(const Type& type) {
    std::string info(type.description);
    if (type.length == Length::kShort) {
      info.replace(1, 2, number(2 + input_.choice(200) * 40, 2));
    }
    if (type.has_collation) info += kCollation;
    if (type.has_table) info += "\1" + long_text();
    return info;
  }

  std::string description() {
    columns_.clear();
    const std::size_t count = input_.choice(20);
    std::string token = "\x81" + number(count, 2);
    for (std::size_t i = 0; i < count; ++i) {
      const Type& type = kTypes[input_.choice(kTypes.size())];
      columns_.push_back(&type);
      token += number(0, 4) + number(input_.choice(32), 2) + type_info(type) + name();
    }
    return token;
  }

  std::string value(const Type& type) {
    const std::size_t way = input_.choice(16);
    std::string bytes;
    if (way < 8) {
      bytes = number(static_cast<std::uint64_t>(input_.integer()),
                     std::min<std::size_t>(type.usual, 8));
      bytes.resize(type.usual);
    } else if (way < 12) {
      bytes = input_.piece();
    } else if (way == 12) {
      // Longer than what is fetched at once.
      bytes.assign(std::size_t{300} * input_.byte(), static_cast<char>(input_.byte()));
    }
    const bool is_null = way == 13;
    switch (type.length) {
      case Length::kFixed:
        bytes.resize(type.usual);
        return bytes;
      case Length::kByte:
        if (way >= 8) bytes.resize(std::min<std::size_t>(bytes.size(), 255));
        return number(is_null ? 0 : bytes.size(), 1) + bytes;
      case Length::kShort:
        return is_null ? "\xff\xff" : number(bytes.size(), 2) + bytes;
      case Length::kLong:
        return is_null ? number(0, 4) : number(bytes.size() + 2, 4) + "\xa7\7" + bytes;
      case Length::kPointer:
        if (is_null) return number(0, 1);
        return "\x10" + std::string(24, 'P') + number(bytes.size(), 4) + bytes;
      default:
        return is_null ? std::string(8, '\xff') : in_parts(bytes);
    }
  }

  std::string in_parts(const std::string& bytes) {
    // The length as a whole, or that it is not known. The one that counts is that of the parts.
    const std::size_t wrong = input_.choice(16) == 15 ? input_.byte() : 0;
    std::string value =
        input_.choice(2) == 0 ? number(bytes.size() + wrong, 8) : "\xfe" + std::string(7, '\xff');
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t size = std::min(bytes.size() - at, 1 + std::size_t{16} * input_.byte());
      value += number(size, 4) + bytes.substr(at, size);
      at += size;
    }
    return value + number(0, 4);
  }

  std::string row() {
    std::string token = "\xd1";
    for (const Type* type : columns_) token += value(*type);
    return token;
  }

  std::string row_with_nulls() {
    std::string token = "\xd2";
    std::string nulls((columns_.size() + 7) / 8, '\0');
    for (char& bits : nulls) bits = static_cast<char>(input_.byte());
    token += nulls;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if ((nulls[i / 8] >> (i % 8) & 1) == 0) token += value(*columns_[i]);
    }
    return token;
  }

  std::string done() {
    constexpr std::array kKinds{'\xfd', '\xfe', '\xff'};
    const char kind = kKinds[input_.choice(kKinds.size())];
    // With more to come most of the time.
    const std::size_t status = input_.choice(64) ^ 1u;
    return kind + number(status, 2) + number(0xc1, 2) +
           number(static_cast<std::uint64_t>(input_.integer()), 8);
  }

  std::string message(char kind) {
    constexpr std::array<std::int32_t, 16> kNumbers{
        102, 208, 229, 547, 1205, 1222, 2627, 3902, 3903, 4060, 5701, 8152, 266, 15161, 0, 18456};
    const std::size_t which = input_.choice(kNumbers.size() + 1);
    const auto native = which == kNumbers.size() ? static_cast<std::uint64_t>(input_.integer())
                                                 : static_cast<std::uint64_t>(kNumbers[which]);
    return with_length(kind, number(native, 4) + number(input_.byte(), 1) +
                                 number(input_.choice(26), 1) + long_text() + short_text() +
                                 short_text() + number(1, 4));
  }

  std::string change() {
    const std::size_t kind = input_.choice(22);
    std::string content = number(kind, 1);
    if (kind == 7 || (kind >= 8 && kind <= 12)) {
      for (int i = 0; i < 2; ++i) {
        const std::string_view piece = input_.piece();
        content += number(piece.size(), 1) + std::string(piece);
      }
    } else if (kind == 4) {
      // The packets go on as they are.
      content +=
          "\4"
          "4\0000\0009\0006\0\4"
          "4\0000\0009\0006\0"sv;
    } else {
      content += short_text() + short_text();
    }
    return with_length('\xe3', content);
  }

  std::string output() {
    const Type& type = kTypes[input_.choice(kTypes.size())];
    return "\xac" + number(1, 2) + name() + "\1" + number(0, 4) + number(0, 2) + type_info(type) +
           value(type);
  }

  Input& input_;
  std::vector<const Type*> columns_;
};

// --- What it is asked
// ------------------------------------------------------------------------------

// The driver manager reads its lists once.
void register_driver() {
  static const test_support::TemporaryFolder lists;
  static const auto list = lists.write("odbcinst.ini", "[FreeTDS]\nDriver=libtdsodbc.so\n");
  setenv("ODBCSYSINI", lists.path().c_str(), 1);
  setenv("ODBCINI", "/dev/null", 1);
}

void read(ado::Recordset& records) {
  for (std::size_t row = 0; row < 50 && !records.eof(); ++row) {
    for (std::size_t column = 0; column < records.field_count(); ++column) {
      static_cast<void>(records.field(column).value());
    }
    records.move_next();
  }
}

void read_rows(const std::shared_ptr<ado::Connection>& connection) {
  ado::Recordset records;
  records.set_active_connection(connection);
  records.set_cursor_location(ado::CursorLocation::kClient);
  records.open(u"Select * From DW_Reports Where ReportName = 'Sales'");
  if (records.state() == ado::ObjectState::kOpen) read(records);
}

void write_row(const std::shared_ptr<ado::Connection>& connection) {
  connection->begin_trans();
  ado::Recordset records;
  records.set_active_connection(connection);
  records.set_cursor_location(ado::CursorLocation::kServer);
  records.set_lock_type(ado::LockType::kPessimistic);
  records.open(u"Select * From DW_Reports Where ReportName = 'Sales'");
  if (records.state() == ado::ObjectState::kOpen && !records.eof() && records.field_count() > 0) {
    records.field(0).set_value(Variant(Text(u"x")));
    records.update();
  }
  connection->commit_trans();
}

void ask_session(std::size_t what, ado::EngineSession& session) {
  switch (what) {
    case 0:
      static_cast<void>(session.columns_of(u"DW_Reports"));
      return;
    case 1:
      static_cast<void>(session.held_rows());
      return;
    case 2: {
      const std::vector<Text> key{u"Sales"};
      static_cast<void>(session.holder_of({u"DW_Reports", key}));
      return;
    }
    case 3:
      session.execute(u"EXEC sp_setapprole 'r','p'");
      return;
    case 4:
      static_cast<void>(session.alive());
      return;
    default:
      session.begin();
      session.execute(u"Delete From DW_Reports");
      session.commit();
  }
}

}  // namespace

void attempt(Input input) {
  static const bool registered = (register_driver(), true);
  static_cast<void>(registered);
  static TdsServer server;
  static odbc::OdbcEngine engine;
  // The driver stays loaded as long as this lives, though the server soon leaves it.
  static const auto first =
      engine.connect(ado::ConnectionString::parse(server.connection_string()));
  const std::size_t way = input.choice(16);
  const bool from_login = way == 15;
  auto answers = Script(input).answers();
  try {
    if (from_login) {
      server.will_answer(std::move(answers), true);
      static_cast<void>(engine.connect(ado::ConnectionString::parse(server.connection_string())));
    } else if (way < 9) {
      const auto connection = std::make_shared<ado::Connection>(ado::Engines{&engine});
      connection->open(server.connection_string());
      server.will_answer(std::move(answers), false);
      way < 5 ? read_rows(connection) : write_row(connection);
    } else {
      const auto session = engine.connect(ado::ConnectionString::parse(server.connection_string()));
      server.will_answer(std::move(answers), false);
      ask_session(way - 9, *session);
    }
  } catch (const ado::AdoError& error) {
    require(!error.description().empty(), "an error says what it is");
  }
  server.relent();
}

}  // namespace tarnwick::fuzz
