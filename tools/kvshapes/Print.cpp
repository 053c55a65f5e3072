#include "Command.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>

namespace Kavrel::Tool {

namespace {

constexpr std::size_t gap = 2; // blanks between the columns of a table

std::string cell(const Json& value)
{
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_number_float()) return fmt::format("{:.9g}", value.get<double>());
  if (value.is_null()) return "-";
  if (value.is_array() && value.empty()) return "-";
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& entry : value)
    text += (text.empty() ? "" : " ") + cell(entry);
  return text;
}

void printTable(const Json& records)
{
  std::vector<std::vector<std::string>> rows(1);
  for (const auto& field : records.front().items())
    rows.front().push_back(field.key());
  for (const Json& record : records) {
    std::vector<std::string> row;
    for (const std::string& name : rows.front())
      row.push_back(cell(record.value(name, Json())));
    rows.push_back(std::move(row));
  }
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], row[i].size());
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i)
      line += fmt::format("{:<{}}", row[i], widths[i] + gap);
    line.erase(line.find_last_not_of(' ') + 1);
    fmt::print("{}\n", line);
  }
}

bool isTable(const Json& value) { return value.is_array() && !value.empty() && value.front().is_object(); }

void printText(const Json& result)
{
  std::size_t width = 0;
  for (const auto& field : result.items())
    if (!isTable(field.value())) width = std::max(width, field.key().size());
  for (const auto& field : result.items()) {
    if (isTable(field.value()))
      printTable(field.value());
    else
      fmt::print("{:<{}}{}\n", field.key(), width + gap, cell(field.value()));
  }
}

} // namespace

void print(const Json& result, bool asJson)
{
  if (asJson)
    fmt::print("{}\n", result.dump(2, ' ', false, Json::error_handler_t::replace)); // file names may be any bytes
  else
    printText(result);
  if (std::fflush(stdout) != 0) throw std::runtime_error("the answer can't be written to standard output");
}

} // namespace Kavrel::Tool
