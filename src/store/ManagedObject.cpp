#include "store/ManagedObject.h"

#include "store/ManagedObjectContext.h"

namespace sorn::store {

void ManagedObject::setCell(std::size_t column, Cell value) {
  if (!context_) return;
  cells_[column] = std::move(value);
  changedColumns_ |= std::uint64_t{1} << column;
  if (!isPending_) context_->addPending(*this);
}

void ManagedObject::setReference(std::size_t column, ManagedObject* target,
                                 const EntityDescription* (*targetEntity)()) {
  if (!context_) return;
  const std::string_view inverseName = entity_.columns[column].inverse;
  if (!inverseName.empty()) {
    const std::size_t inverse = targetEntity()->columnNamed(inverseName);
    // The old target forgets this record, and the record that pointed to the new target forgets it.
    if (const auto* old = std::get_if<std::int64_t>(&cells_[column])) {
      if (const auto object = context_->object(*targetEntity(), *old)) object->setCell(inverse, {});
    }
    if (target) {
      if (const auto* former = std::get_if<std::int64_t>(&target->cells_[inverse])) {
        if (const auto object = context_->object(entity_, *former)) object->setCell(column, {});
      }
      target->setCell(inverse, rowID_);
    }
  }
  setCell(column, target ? Cell(target->rowID_) : Cell());
}

std::string ManagedObject::description() const {
  std::string text = "<" + std::string(entity_.name) + " " + std::to_string(rowID_);
  for (std::size_t column = 0; column < cells_.size(); ++column) {
    const Cell& cell = cells_[column];
    if (isAbsent(cell)) continue;
    text.append("; ").append(entity_.columns[column].name).append(" = ");
    if (const auto* value = std::get_if<std::string>(&cell)) {
      text += *value;
    } else if (const auto* integer = std::get_if<std::int64_t>(&cell)) {
      text += std::to_string(*integer);
    } else {
      text += std::to_string(std::get<double>(cell));
    }
  }
  return text + ">";
}

}  // namespace sorn::store
