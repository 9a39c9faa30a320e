#include "ado/field.h"

#include <utility>

#include "ado/recordset.h"

namespace tarnwick::ado {

const Text& Field::name() const { return recordset_->name_of(index_); }

Variant Field::value() const { return recordset_->value_at(index_); }

bool Field::is_null() const { return recordset_->is_null_at(index_); }

void Field::set_value(Variant value) { recordset_->assign(index_, std::move(value)); }

}  // namespace tarnwick::ado
