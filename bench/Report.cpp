#include "bench/Report.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

std::string fixed(double value, int decimals) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

std::string percent(double part) {
    std::ostringstream text;
    text << std::showpos << std::fixed << std::setprecision(0) << part * 100 << " %";
    return text.str();
}

/// Words to the left; numbers, with whatever is behind them, to the right.
bool isNumeric(const std::string& cell) {
    return !cell.empty() && (cell[0] == '-' || (cell[0] >= '0' && cell[0] <= '9'));
}

void printRow(const Report::Row& row, const std::vector<std::size_t>& widths) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        std::cout << "| " << (isNumeric(row[i]) ? std::right : std::left)
                  << std::setw(static_cast<int>(widths[i])) << row[i] << ' ';
    }
    std::cout << "|\n";
}

} // namespace

void Report::heading(const std::string& text) {
    std::cout << "\n## " << text << "\n\n" << std::flush;
}

void Report::note(const std::string& text) {
    std::cout << text << '\n' << std::flush;
}

void Report::table(const Row& head, const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < head.size(); ++i) {
        widths.push_back(head[i].size());
        for (const Row& row : rows) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    printRow(head, widths);
    for (std::size_t i = 0; i < head.size(); ++i) {
        const bool right = std::all_of(rows.begin(), rows.end(),
                                       [i](const Row& row) { return isNumeric(row[i]); });
        std::cout << '|' << std::string(widths[i] + 1, '-') << (right ? ':' : '-');
    }
    std::cout << "|\n";
    for (const Row& row : rows) {
        printRow(row, widths);
    }
    std::cout << '\n' << std::flush;
}

std::string Report::judge(bool met) {
    goals_ += 1;
    met_ += met ? 1 : 0;
    return met ? "met" : "MISSED";
}

void Report::fail(const std::string& what) {
    std::cerr << "WRONG RESULT: " << what << std::endl;
    failed_ = true;
}

int Report::finish() const {
    std::cout << (failed_ ? "A result was wrong. " : "") << met_ << " of " << goals_
              << " goals met\n";
    return failed_ ? 1 : 0;
}

std::string number(double value) {
    if (std::abs(value) < 0.005) {
        return "0"; // and never "-0.00"
    }
    return value < 100 ? fixed(value, value < 10 ? 2 : 1) : wholeNumber(value);
}

std::string wholeNumber(double value) {
    std::string text = fixed(value, 0);
    for (std::size_t end = text.size(); end > 3; end -= 3) {
        text.insert(end - 3, 1, ',');
    }
    return text;
}

std::string times(double ratio) {
    return number(ratio) + "x";
}

std::string around(const measure::Spread& spread) {
    return percent(spread.low / spread.median - 1) + " " + percent(spread.high / spread.median - 1);
}
