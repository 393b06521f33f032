// What a text says: how often, between which words, and the numbers in it.
#ifndef PAGES_H
#define PAGES_H

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

inline int count_of(const std::string& text, const std::string& part)
{
    int count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
        ++count;
    return count;
}

// From `begin` up to the next `end`.
inline std::string between(const std::string& text, const std::string& begin, const std::string& end)
{
    const size_t from = text.find(begin), to = text.find(end, from);
    EXPECT_TRUE(from != std::string::npos && to != std::string::npos) << begin;
    return from == std::string::npos ? std::string() : text.substr(from, to - from);
}

// All numbers that the expression's groups match, in order.
inline std::vector<double> numbers(const std::string& text, const std::string& expression)
{
    const std::regex regex(expression);
    std::vector<double> all;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        for (size_t group = 1; group < match->size(); ++group)
            all.push_back(std::stod((*match)[group]));
    }
    return all;
}

// Expects these to be the numbers, each at most so far off.
inline void expect_numbers(const std::string& text, const std::string& expression,
                           const std::vector<double>& want, double most)
{
    const std::vector<double> is = numbers(text, expression);
    ASSERT_EQ(is.size(), want.size()) << expression;
    for (size_t i = 0; i < want.size(); ++i)
        EXPECT_NEAR(is[i], want[i], most) << expression << " " << i;
}

#endif
