// A sort with one fixed order among equal keys.
//
// Code lengths depend on the order in which a sort leaves symbols of equal weight, and with them the bytes of
// a frame. The standard library's unstable sort may order them differently on each system, so that the sort
// is written out here. Which elements are compared, which one is the pivot and what is swapped must not
// change, not even for another correct sort.
//
// Introsort (Musser 1997). Quicksort with the median of three as its pivot splits the elements until no part
// is longer than 16. A part that is still longer after 2 * log2(n) splits is sorted as a heap. Insertion sort
// over all elements finishes the short parts.
#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <span>
#include <utility>

namespace entropy {

namespace introsort {

/// The longest part that is left to the insertion sort.
inline constexpr size_t kShortPart = 16;

/// Swaps the median of the second, the middle and the last element to the front. The median is found with two
/// or three comparisons; among equal elements their order decides.
template <class T, class Less>
void MedianToFront(std::span<T> part, Less& less)
{
    T& a = part[1];
    T& b = part[part.size() / 2];
    T& c = part.back();
    T* median = nullptr;
    if (less(a, b))
        median = less(b, c) ? &b : less(a, c) ? &c : &a;
    else
        median = less(a, c) ? &a : less(b, c) ? &c : &b;
    std::swap(part.front(), *median);
}

/// Splits a part of 4 elements or more. Returns the size of the low part, 1 to size - 1: none of its elements
/// is greater than the pivot, and none of the others is less. Elements equal to the pivot are swapped too.
template <class T, class Less>
size_t Partition(std::span<T> part, Less& less)
{
    assert(part.size() > 3);
    MedianToFront(part, less);
    const T& pivot = part.front();
    size_t low = 1;
    size_t high = part.size();
    // The two elements that lost against the pivot stop both scans: no bounds check is needed.
    for (;;) {
        while (less(part[low], pivot))
            ++low;
        do
            --high;
        while (less(pivot, part[high]));
        if (low >= high)
            return low;
        std::swap(part[low], part[high]);
        ++low;
    }
}

/// Fills the hole at `top` of a heap whose greatest element is its first: greater children move up until the
/// hole is a leaf, then `value` rises from there, at most to `top`.
template <class T, class Less>
void SiftFromLeaf(std::span<T> heap, size_t top, T value, Less& less)
{
    size_t hole = top;
    size_t child = 2 * hole + 2; // the right one
    for (; child < heap.size(); child = 2 * hole + 2) {
        if (less(heap[child], heap[child - 1]))
            --child;
        heap[hole] = heap[child];
        hole = child;
    }
    if (child == heap.size()) { // a left child alone
        heap[hole] = heap[child - 1];
        hole = child - 1;
    }
    while (hole > top && less(heap[(hole - 1) / 2], value)) {
        heap[hole] = heap[(hole - 1) / 2];
        hole = (hole - 1) / 2;
    }
    heap[hole] = value;
}

template <class T, class Less>
void SortByHeap(std::span<T> part, Less& less)
{
    for (size_t top = part.size() / 2; top-- > 0;)
        SiftFromLeaf(part, top, part[top], less);
    for (size_t end = part.size(); end-- > 1;) {
        const T last = part[end];
        part[end] = part.front();
        SiftFromLeaf(part.first(end), 0, last, less);
    }
}

/// Leaves every element in its place or in a short part with its place.
template <class T, class Less>
void SortToShortParts(std::span<T> part, size_t splitsLeft, Less& less)
{
    for (; part.size() > kShortPart; --splitsLeft) {
        if (splitsLeft == 0) {
            SortByHeap(part, less);
            return;
        }
        const size_t low = Partition(part, less);
        SortToShortParts(part.subspan(low), splitsLeft - 1, less);
        part = part.first(low);
    }
}

template <class T, class Less>
void SortByInsertion(std::span<T> items, Less& less)
{
    for (size_t i = 1; i < items.size(); ++i) {
        const T item = items[i];
        size_t to = i;
        for (; to > 0 && less(item, items[to - 1]); --to)
            items[to] = items[to - 1];
        items[to] = item;
    }
}

/// How many splits deep a part may lie before it is sorted as a heap. `count` is 1 or more.
constexpr size_t MaxSplits(size_t count)
{
    size_t splits = 0;
    for (; count > 1; count /= 2)
        splits += 2;
    return splits;
}

} // namespace introsort

/// Sorts `items` in ascending order by `less`, a strict weak order. The result is a function of the items'
/// order and of the comparisons alone.
template <class T, class Less>
void Introsort(std::span<T> items, Less less)
{
    if (items.empty())
        return;
    introsort::SortToShortParts(items, introsort::MaxSplits(items.size()), less);
    introsort::SortByInsertion(items, less);
}

} // namespace entropy
