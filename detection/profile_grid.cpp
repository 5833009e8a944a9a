#include "detection/profile_grid.h"

namespace corvid {

ProfileGrid makeProfileGrid(std::int32_t rows, std::int32_t centerRow) {
  ProfileGrid grid;
  grid.rows = rows;
  grid.centerRow = centerRow;
  grid.matrix.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(grid.bins), 0.0);
  grid.filledCells.reserve(4096);
  return grid;
}

void clearProfileGrid(ProfileGrid& grid) {
  for (const std::int32_t cell : grid.filledCells) grid.matrix[static_cast<std::size_t>(cell)] = 0.0;
  grid.filledCells.clear();
}

void addToProfileGrid(ProfileGrid& grid, std::int64_t row, std::int64_t bin, double intensity) {
  if (row < 0 || row >= grid.rows || bin < 0 || bin >= grid.bins) return;
  const auto cell = static_cast<std::int32_t>(row * grid.bins + bin);
  grid.matrix[static_cast<std::size_t>(cell)] += intensity;
  grid.filledCells.push_back(cell);
}

}  // namespace corvid
