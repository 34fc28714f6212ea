#include "jobs/Spelling.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Tessor::Jobs
{

namespace
{

using Ranking = std::vector<std::pair<size_t, std::string>>;

/// Letters to add, take away or change to make one word of the other: Levenshtein's distance, in one row of its table.
size_t Distance(const std::string& a, const std::string& b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i)
    {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j)
        {
            const size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
        }
    }
    return row.back();
}

Ranking Rank(const std::string& word, const std::vector<std::string>& words)
{
    Ranking nearest;
    for (const std::string& candidate : words)
        // who writes the beginning of a name means it
        nearest.emplace_back(candidate.find(word) != std::string::npos ? 0 : Distance(word, candidate), candidate);
    std::sort(nearest.begin(), nearest.end());
    nearest.erase(std::unique(nearest.begin(), nearest.end()), nearest.end());
    return nearest;
}

} // namespace

std::vector<std::string> FindNearest(const std::string& word, const std::vector<std::string>& words)
{
    std::vector<std::string> nearest;
    for (const auto& [distance, candidate] : Rank(word, words))
        if (nearest.size() < 3)
            nearest.push_back(candidate);
    return nearest;
}

std::string FindMeant(const std::string& word, const std::vector<std::string>& words)
{
    const Ranking nearest = Rank(word, words);
    // a letter in three may be wrong
    return !nearest.empty() && nearest.front().first <= (word.size() + 1) / 3 ? nearest.front().second : "";
}

} // namespace Tessor::Jobs
