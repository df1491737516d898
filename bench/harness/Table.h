/// Prints rows as a table.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/harness/Comparison.h"

namespace kiv_bench {

void printHeader();
void printRow(const Row& row);
void printSummary(const std::vector<Row>& rows);

/// Writes the rows as a list of objects. False if the file cannot be written.
bool writeJson(const std::vector<Row>& rows, const std::string& path);

}  // namespace kiv_bench
