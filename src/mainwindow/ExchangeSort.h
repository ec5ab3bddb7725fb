#pragma once
// The order of an exchange sort (for each pair of positions i < j, swap when the item at i is
// greater than the one at j) in O(n log n) rather than its n squared comparisons. The game list
// and the resolution list keep that order, ties included: two recipes whose names differ only in
// case stand in the order the exchange sort leaves them, which is not their order in the folder.
//
// Items of different keys end up in ascending key order. For the order within a group of equal
// keys K, only the items with keys up to K count, and the group behaves as a queue: scanning the
// original order, an item of key K joins the back of the queue, and each smaller item met once
// the queue has begun moves the queue's front to its back. (The exchange sort carries the front
// item of a run of equal keys over the run to the next smaller item, one step per smaller item.)
// The queue's rotations are counted with a Fenwick tree and undone backwards on a second one, so
// that no rotation is done one by one.

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace optera::mainwindow {

namespace exchange_sort_detail {

// Counts over positions 0..n-1 with prefix sums and the search for the k-th counted position.
class Fenwick {
  public:
    explicit Fenwick(std::size_t n) : tree_(n + 1, 0) {}
    void Add(std::size_t position, int delta) {
        for (std::size_t i = position + 1; i < tree_.size(); i += i & (~i + 1)) tree_[i] += delta;
    }
    // Counted positions below `position`.
    std::size_t Below(std::size_t position) const {
        int sum = 0;
        for (std::size_t i = position; i > 0; i -= i & (~i + 1)) sum += tree_[i];
        return static_cast<std::size_t>(sum);
    }
    // The counted position with `k` counted positions below it.
    std::size_t Find(std::size_t k) const {
        std::size_t at = 0;
        std::size_t step = 1;
        while (step * 2 < tree_.size()) step *= 2;
        for (; step > 0; step /= 2) {
            if (at + step < tree_.size() && static_cast<std::size_t>(tree_[at + step]) <= k) {
                at += step;
                k -= static_cast<std::size_t>(tree_[at]);
            }
        }
        return at;
    }

  private:
    std::vector<int> tree_;
};

// The final order of one group's members (their indexes in original order), given for each
// member the number of smaller items between it and the next member (or the end).
inline std::vector<std::size_t> GroupOrder(const std::vector<std::size_t>& members,
                                           const std::vector<std::size_t>& rotationsAfter) {
    const std::size_t m = members.size();
    std::vector<std::size_t> order(m);
    Fenwick present(m);
    for (std::size_t i = 0; i < m; ++i) present.Add(i, 1);
    // Backwards from the final queue, read from its front: undo the rotations, then take the
    // member that joined last off the back.
    std::size_t front = 0;
    for (std::size_t t = m; t-- > 0;) {
        const std::size_t size = t + 1;
        front = (front + size - rotationsAfter[t] % size) % size;
        const std::size_t back = (front + size - 1) % size;
        const std::size_t slot = present.Find(back);
        order[slot] = members[t];
        present.Add(slot, -1);
        if (front > 0) --front;
    }
    return order;
}

}  // namespace exchange_sort_detail

// Sorts `items` in place into the exchange sort's order by `key(item)`, compared with `<`.
template <typename T, typename KeyOf>
void ExchangeSortOrder(std::vector<T>& items, KeyOf key) {
    using exchange_sort_detail::Fenwick;
    const std::size_t n = items.size();
    if (n < 2) return;
    using Key = decltype(key(items.front()));
    std::vector<Key> keys;
    keys.reserve(n);
    for (const T& item : items) keys.push_back(key(item));

    std::vector<std::size_t> byKey(n);
    std::iota(byKey.begin(), byKey.end(), 0);
    std::stable_sort(byKey.begin(), byKey.end(),
                     [&keys](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });

    std::vector<T> sorted;
    sorted.reserve(n);
    Fenwick smaller(n);  // positions of the items of the groups done so far
    for (std::size_t start = 0; start < n;) {
        std::size_t end = start + 1;
        while (end < n && !(keys[byKey[start]] < keys[byKey[end]])) ++end;
        // Members in original order, as the stable sort left them.
        std::vector<std::size_t> members(byKey.begin() + static_cast<std::ptrdiff_t>(start),
                                         byKey.begin() + static_cast<std::ptrdiff_t>(end));
        std::vector<std::size_t> rotations(members.size());
        const std::size_t total = start;  // every item of a smaller key
        for (std::size_t t = 0; t < members.size(); ++t) {
            const std::size_t upTo = t + 1 < members.size() ? smaller.Below(members[t + 1]) : total;
            rotations[t] = upTo - smaller.Below(members[t]);
        }
        for (std::size_t index : exchange_sort_detail::GroupOrder(members, rotations))
            sorted.push_back(std::move(items[index]));
        for (std::size_t index : members) smaller.Add(index, 1);
        start = end;
    }
    items = std::move(sorted);
}

}  // namespace optera::mainwindow
