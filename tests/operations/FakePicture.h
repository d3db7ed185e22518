#pragma once
// A picture for the conversion tests whose pixels come from a function, so
// that a very wide one costs no memory; a read outside it fails the test.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "operations/mGumps.h"

namespace quillet::test {

class FakePicture : public PixelSource {
public:
    FakePicture(int32_t width, int32_t height, std::function<RGB(int32_t, int32_t)> pixel)
        : width_(width), height_(height), pixel_(std::move(pixel)) {}
    // From rows of pixels.
    explicit FakePicture(std::vector<std::vector<RGB>> rows)
        : FakePicture(rows.empty() ? 0 : static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()),
                      [rows](int32_t x, int32_t y) { return rows[static_cast<size_t>(y)][static_cast<size_t>(x)]; }) {}

    int32_t Width() const override { return width_; }
    int32_t Height() const override { return height_; }
    RGB Pixel(int32_t x, int32_t y) const override {
        if (x < 0 || x >= width_ || y < 0 || y >= height_) ADD_FAILURE() << "pixel " << x << "," << y << " read";
        return pixel_(x, y);
    }

private:
    int32_t width_;
    int32_t height_;
    std::function<RGB(int32_t, int32_t)> pixel_;
};

}  // namespace quillet::test
