// Measuring in a process of its own, so that nothing done before counts: first touches of memory,
// peaks, what an allocator kept.
#ifndef TARVIK_BENCH_ALONE_H
#define TARVIK_BENCH_ALONE_H

#include <cstddef>
#include <string>
#include <vector>

// What one of the works below prints, in its order.
using Figures = std::vector<double>;

// Runs this program again as "--alone WORK ARGUMENT..." and gives the figures that it prints.
Figures RunAlone(const std::string& work, const std::vector<std::string>& arguments);

// In that process: does the work. Throws std::runtime_error for one that is not known.
void WorkAlone(const std::string& work, const std::vector<std::string>& arguments);

// The works. Each takes its arguments in the order given and returns the figures to print.
Figures HoldCatalog(const std::vector<std::string>&
                        arguments); // library, file: bytes resident, needed, at most resident
Figures OpenFirst(
    const std::vector<std::string>& arguments); // library or "expat", file: elapsed seconds
Figures WorkOnShape(const std::vector<std::string>&
                        arguments); // shape, file, count: seconds, bytes at most resident

// Of this process, in bytes: its pages in memory, and the most that they ever were.
std::size_t Resident();
std::size_t MostResident();

#endif
