#pragma once

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace halvarin {

namespace merge_sort_detail {

/// Merges the runs [begin, middle) and [middle, end) of `from` into `to`. Takes the left element
/// unless the right one is strictly smaller, which keeps equal elements in their order.
template <typename Compare>
void mergeRuns(const std::vector<std::size_t>& from, std::vector<std::size_t>& to,
               std::size_t begin, std::size_t middle, std::size_t end, const Compare& compare) {
  std::size_t left = begin;
  std::size_t right = middle;
  for (std::size_t out = begin; out < end; ++out) {
    const bool takeLeft = right >= end || (left < middle && compare(from[left], from[right]) <= 0);
    to[out] = takeLeft ? from[left++] : from[right++];
  }
}

}  // namespace merge_sort_detail

/// Sorts stably with a three-way comparator (negative: a before b). The comparator may contradict
/// itself: every index stays within its run, so no answer of it can lose an element or leave the
/// array. When it throws, the elements stand as they stood.
template <typename T, typename ThreeWay>
void mergeSort(std::vector<T>& elements, const ThreeWay& threeWay) {
  const std::size_t count = elements.size();
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::vector<std::size_t> merged(count);
  const auto compare = [&](std::size_t a, std::size_t b) {
    return threeWay(std::as_const(elements[a]), std::as_const(elements[b]));
  };
  for (std::size_t width = 1; width < count; width *= 2) {
    for (std::size_t begin = 0; begin < count; begin += 2 * width) {
      merge_sort_detail::mergeRuns(order, merged, begin, std::min(begin + width, count),
                                   std::min(begin + 2 * width, count), compare);
    }
    order.swap(merged);
  }
  std::vector<T> sorted;
  sorted.reserve(count);
  for (const std::size_t index : order) {
    sorted.push_back(std::move(elements[index]));
  }
  elements = std::move(sorted);
}

}  // namespace halvarin
