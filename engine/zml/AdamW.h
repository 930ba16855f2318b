#pragma once

#include <vector>

namespace zml {

// Adam with decoupled weight decay (Kingma and Ba 2015; Loshchilov and Hutter 2019): with g the
// gradient, and all operations by parameter,
//
//     m <- B1 m + (1 - B1) g,    v <- B2 v + (1 - B2) g^2
//     x <- x - rate * ( m' / (sqrt(v') + E) + decay * x )
//
// where m' and v' are m and v without the bias towards their start at 0.
class AdamW {
  public:
    // For `size` parameters, of which the first `decayed` decay.
    AdamW(size_t size, size_t decayed) : mDecayed(decayed), mMean(size), mSquare(size) {}

    void step(std::vector<float>& parameters, const std::vector<float>& gradient, float rate);

  private:
    void stepRange(float* parameters, const float* gradient, size_t begin, size_t end, float rate,
                   float decay);

    const size_t mDecayed;
    std::vector<float> mMean;
    std::vector<float> mSquare;
    float mMeanBias = 1.0f;    // B1 to the power of the steps made
    float mSquareBias = 1.0f;  // the same of B2
};

}  // namespace zml
