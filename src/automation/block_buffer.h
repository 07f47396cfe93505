#pragma once
// An append-only buffer that never moves what it holds: elements live in blocks of
// 2^Shift, each allocated once. Growing to a million rows costs one allocation per block
// and no copy (a std::vector would copy everything at each doubling and touch fresh pages
// for every copy). A run of elements asked for in one call is contiguous; a run longer
// than a block gets an allocation of its own that spans several block slots.

#include <cstddef>
#include <memory>
#include <vector>

namespace BrevView::platform {

template <typename T, int Shift = 15>
class BlockBuffer {
public:
    static constexpr size_t kBlock = size_t(1) << Shift;

    // Room for `count` contiguous elements (left uninitialised); returns their address.
    size_t Append(size_t count, T** elements)
    {
        size_t at = end_;
        const size_t inBlock = at & (kBlock - 1);
        if (at == slots_.size() * kBlock || inBlock + count > kBlock) {
            const size_t span = count == 0 ? 1 : (count + kBlock - 1) / kBlock;
            blocks_.emplace_back(new T[span * kBlock]);
            at = slots_.size() * kBlock;
            for (size_t i = 0; i < span; ++i)
                slots_.push_back(blocks_.back().get() + i * kBlock);
        }
        *elements = At(at);
        end_ = at + count;
        // A run that took slots of its own ends them: the next run starts a new block.
        if (count > kBlock)
            end_ = slots_.size() * kBlock;
        return at;
    }

    T* At(size_t address) { return slots_[address >> Shift] + (address & (kBlock - 1)); }
    const T* At(size_t address) const { return slots_[address >> Shift] + (address & (kBlock - 1)); }
    T& operator[](size_t address) { return *At(address); }
    const T& operator[](size_t address) const { return *At(address); }

    // The addresses used so far (the next free one).
    size_t size() const { return end_; }
    // The slots an allocation would have to fill next, for callers with an address limit.
    size_t SlotsAfter(size_t count) const { return slots_.size() + (count + kBlock - 1) / kBlock; }

    void Clear()
    {
        blocks_.clear();
        slots_.clear();
        end_ = 0;
    }

private:
    std::vector<std::unique_ptr<T[]>> blocks_;
    std::vector<T*> slots_;  // per kBlock of addresses, where those elements are
    size_t end_ = 0;
};

}  // namespace BrevView::platform
