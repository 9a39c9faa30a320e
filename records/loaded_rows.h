#pragma once

#include <array>
#include <concepts>
#include <memory>
#include <span>
#include <tuple>
#include <vector>

#include "ado/error.h"
#include "ado/recordset.h"
#include "records/property.h"
#include "records/row_version.h"
#include "state/enums.h"
#include "state/guard.h"
#include "state/record_store.h"

namespace tarnwick {

/// How a value of the type mostly stands in a column, so that nothing can go wrong in reading it
/// there (see column_values.h for all the other ways).
template <class T>
struct Plain {
  using Kind = ado::Cell::Kind;

  [[nodiscard]] static bool is(Kind kind) {
    if constexpr (std::same_as<T, Text>) {
      return kind == Kind::kUtf8 || kind == Kind::kUtf16;
    } else if constexpr (std::same_as<T, bool>) {
      return kind == Kind::kBool;
    } else if constexpr (std::same_as<T, std::int16_t>) {
      return kind == Kind::kInt16;
    } else if constexpr (std::same_as<T, Date>) {
      return kind == Kind::kDate;
    } else {
      static_assert(std::same_as<T, std::int32_t> || std::same_as<T, MaintTypeEnum>);
      return kind == Kind::kInt16 || kind == Kind::kInt32;
    }
  }

  [[nodiscard]] static T from(const ado::Cell& cell) {
    if constexpr (std::same_as<T, Text>) {
      return cell.kind == Kind::kUtf8 ? from_stored_utf8(cell.view())
                                      : std::get<Text>(cell.to_variant());
    } else if constexpr (std::same_as<T, Date>) {
      return Date{cell.real};
    } else {
      return static_cast<T>(cell.integer);
    }
  }
};

/// The rows that a recordset holds, as the engine packed them: what records are made of whose
/// values nobody has asked for. Only a plain row will do: one that loads without an error, and in
/// which every value stands as its type says.
template <class Record>
class LoadedRows {
 public:
  /// Nothing where a column is missing.
  [[nodiscard]] static std::shared_ptr<const LoadedRows> of(const ado::Recordset& recordset) {
    auto loaded = std::make_shared<LoadedRows>(recordset.rows());
    try {
      for_each_read<Record>([&](const auto& property) {
        loaded->columns_[place_of(property)] = recordset.position_of(property.reading.column);
      });
    } catch (const ado::AdoError&) {
      return nullptr;
    }
    return loaded;
  }
  explicit LoadedRows(std::shared_ptr<const ado::RowBuffer> rows) : rows_(std::move(rows)) {}

  /// Where a row lies, which what follows takes; it does as long as this lives.
  [[nodiscard]] const std::byte* row(std::uint32_t number) const { return rows_->place_of(number); }

  /// Whether the row with these values is plain.
  [[nodiscard]] bool is_plain(std::span<const ado::Cell> row) const {
    bool plain = true;
    for_each_read<Record>([&](const auto& property) {
      plain = plain && is_plain(property, row[columns_[place_of(property)]].kind);
    });
    return plain;
  }

  /// The cell in which the property stands.
  template <Name kName>
  [[nodiscard]] const ado::Cell& cell(std::span<const ado::Cell> row) const {
    return row[columns_[place_of(kPropertyOf<Record, kName>)]];
  }

  /// The property's value in a plain row.
  template <Name kName>
  [[nodiscard]] auto value(const std::byte* row) const {
    constexpr auto& kProperty = kPropertyOf<Record, kName>;
    return value(kProperty, ado::RowBuffer::cell_at(row, columns_[place_of(kProperty)]));
  }

  /// Loads a plain row into the record, which is unchanged then.
  void load(const std::byte* row, Record& record) const {
    const Unchanged at_the_end{record};
    std::vector<ado::Cell> cells(rows_->columns());
    ado::RowBuffer::read_row_at(row, cells);
    for_each_read<Record>([&](const auto& property) {
      PropertyAccess::set(record, property, value(property, cells[columns_[place_of(property)]]));
    });
  }

 private:
  struct Unchanged {
    Record& record;
    ~Unchanged() { PropertyAccess::clear_changed(record); }
  };

  static constexpr std::size_t kProperties =
      std::tuple_size_v<std::remove_const_t<decltype(Properties<Record>::kAll)>>;
  [[nodiscard]] static std::size_t place_of(const auto& property) {
    return static_cast<std::size_t>(property.reading.place) - 1;
  }

  template <auto kGet, auto kSet>
  [[nodiscard]] static bool is_plain(const Property<kGet, kSet>& property, ado::Cell::Kind kind) {
    using Kind = ado::Cell::Kind;
    const bool of_bytes = property.form == Form::kRowVersion || property.form == Form::kOwn;
    if (of_bytes) return kind == Kind::kBytes || kind == Kind::kNull;
    if (property.form != Form::kPlain) return false;  // Untaken: neither class has another form.
    if (kind == Kind::kNull) return !property.reading.nulls.refused;
    return Plain<typename Property<kGet, kSet>::Value>::is(kind);
  }

  template <auto kGet, auto kSet>
  [[nodiscard]] static auto value(const Property<kGet, kSet>& property, const ado::Cell& cell) {
    using T = typename Property<kGet, kSet>::Value;
    if constexpr (std::same_as<T, Text>) {
      if (property.form == Form::kRowVersion) return row_version_text(cell.to_variant());
      if (property.form == Form::kOwn && !cell.is_null()) return from_latin1(cell.view());
    }
    if (!cell.is_null()) return Plain<T>::from(cell);
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
      return static_cast<T>(property.reading.nulls.value);
    } else {
      return T{};
    }
  }

  std::shared_ptr<const ado::RowBuffer> rows_;
  std::array<std::size_t, kProperties> columns_{};  // by place in the order of reading
};

/// Makes the records of plain rows.
template <class Record>
class LoadedRecords final : public RecordSource<Record> {
 public:
  LoadedRecords(SharedState& state, std::shared_ptr<const LoadedRows<Record>> rows)
      : state_(state), rows_(std::move(rows)) {}

  [[nodiscard]] std::shared_ptr<Record> make(std::uint32_t row) const override {
    return std::make_shared<Record>(state_, rows_, rows_->row(row));
  }
  void part_from(Record& record) const noexcept override {
    // Where there is no memory for that, the record keeps the rows alive.
    quietly([&] { record.part_from_rows(); });
  }

 private:
  SharedState& state_;
  std::shared_ptr<const LoadedRows<Record>> rows_;
};

}  // namespace tarnwick
