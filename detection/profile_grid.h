#pragma once
// Binned MS1 intensities around an activation center, one row per MS1 scan, cleared cheaply
// between scans by resetting only the cells that were written.
#include <cstdint>
#include <vector>

namespace corvid {

// Row = MS1 scan, bin b of a row covers center - halfWidth + b / binsPerTh up to the next bin.
// matrix is rows x bins, row major.
struct ProfileGrid {
  double halfWidth = 3.0;
  std::int32_t binsPerTh = 100;
  std::int32_t rows = 0;
  std::int32_t bins = 600;
  std::int32_t centerRow = 0;
  std::vector<double> matrix;             // rows x bins, zero outside the cells listed below
  std::vector<std::int32_t> filledCells;  // cells written since the last clear (for a cheap clear)
};

// Ten MS1 scans (offsets -4..+5 around the related scan) feed candidate detection.
inline constexpr std::int32_t kFilteredGridRows = 10;
inline constexpr std::int32_t kFilteredGridCenterRow = 5;
// A hundred MS1 scans (offsets -49..+50) of unfiltered signal.
inline constexpr std::int32_t kWideGridRows = 100;
inline constexpr std::int32_t kWideGridCenterRow = 50;

ProfileGrid makeProfileGrid(std::int32_t rows, std::int32_t centerRow);
// Sets every cell to zero again (only the cells written since the last clear are touched).
void clearProfileGrid(ProfileGrid& grid);
// Adds intensity into (row, bin) when the cell lies inside the grid.
void addToProfileGrid(ProfileGrid& grid, std::int64_t row, std::int64_t bin, double intensity);

}  // namespace corvid
