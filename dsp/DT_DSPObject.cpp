#include "dsp/DT_DSPObject.h"

#include <algorithm>

DT_DSPObject::DT_DSPObject(int64_t block_limit) : CV_DSPObject(block_limit)
{
    for (auto& ring : pre_ring) ring = new double[engine::ring_len];
    DT_DSPObject::reset();
}

DT_DSPObject::~DT_DSPObject()
{
    for (auto* ring : pre_ring) delete[] ring;
}

void DT_DSPObject::reset()
{
    CV_DSPObject::reset();
    for (auto* ring : pre_ring) std::fill(ring, ring + engine::ring_len, 0.0);
    de_state[0] = de_state[1] = 0.0;
}

void DT_DSPObject::pre_emphasize(const double* ring, int64_t index, int channel)
{
    const int64_t previous = ring_back(index, 1, engine::ring_len);
    pre_ring[channel][index] = ring[index] - emphasis * ring[previous];
}

double DT_DSPObject::de_emphasize(int channel, double x)
{
    de_state[channel] = x + emphasis * de_state[channel];
    return de_state[channel];
}

void DT_DSPObject::analyze_formants(const double* /*period_ring*/, int64_t /*index*/,
                                    int /*channel*/)
{
}

double DT_DSPObject::inverse_filter(int64_t index, int channel)
{
    return pre_ring[channel][ring_back(index, engine::residual_delay, engine::ring_len)];
}

double DT_DSPObject::synthesis_filter(int64_t /*position*/, int /*channel*/, double x)
{
    return x;
}

void DT_DSPObject::set_throat_ratio(double ratio)
{
    throat_ratio = ratio;
}
