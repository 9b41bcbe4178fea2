#include "dsp/CV_DSPObject.h"

#include <algorithm>
#include <cmath>

CV_DSPObject::CV_DSPObject(int64_t block_limit) : Downsample_DSP(block_limit)
{
    CV_DSPObject::reset();
}

void CV_DSPObject::reset() noexcept
{
    Downsample_DSP::reset();
    shifter.reset();
    formants.reset();
    detector.reset();
    targets.reset();
    retune.reset();
    vibrato.reset();
    natural.reset();
    player.reset();
    for (auto& filter : mix_filter) filter.clear();
    applied_ratio = target_ratio = 1.0;
    started = false;
    frame_phase = 0.0;
    frame_min_period = engine::no_min_period;
    frame_max_period = engine::no_max_period;
    publish_status();
}

void CV_DSPObject::set_sample_rate(double rate) noexcept
{
    configure_rate(rate);
    // Unserved: process copies, and the stages keep the rate they had.
    if (get_sample_rate() == 0.0) return;
    const double sr = engine_rate();
    period_scale = double(decimationFactor);
    shifter.set_rate(sr);
    formants.set_rate(sr);
    detector.set_rate(sr);
    retune.set_rate(sr);
    configure_mix_filters();
    set_samples_per_frame(samples_per_frame);
    reset();
}

void CV_DSPObject::prepare_hook() noexcept {}

void CV_DSPObject::set_idle(bool on) noexcept
{
    idle = on;
    publish_status();
}

void CV_DSPObject::set_retune(double retune_ms, double humanize_ms) noexcept
{
    retune.set_times(retune_ms, humanize_ms, engine_rate());
}

void CV_DSPObject::set_vibrato_shape(int shape) noexcept
{
    const bool known = shape >= int(vibrato_shape::sine) && shape <= int(vibrato_shape::sawtooth);
    vibrato.set_shape(known ? vibrato_shape(shape) : vibrato_shape::none);
}

void CV_DSPObject::set_vibrato_delay(double ms) noexcept
{
    vibrato.set_delay(ms);
    update_frame_rate_values();
}

void CV_DSPObject::set_vibrato_onset(double ms) noexcept
{
    vibrato.set_onset(ms);
    update_frame_rate_values();
}

void CV_DSPObject::set_vibrato_formant(double dB) noexcept
{
    vib_formant = dB;
    configure_mix_filters();
}

void CV_DSPObject::set_transpose(int semitones) noexcept
{
    transpose_ratio = std::pow(2.0, double(semitones) / 12.0);
}

void CV_DSPObject::set_tracking(double tracking, int type) noexcept
{
    const int last = int(input_type::bass_instrument);
    detector.set_tracking(tracking, input_type(std::clamp(type, 0, last)));
}

void CV_DSPObject::set_note_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                                  const int64_t* octaves) noexcept
{
    targets.set_explicit(count, periods, bounds, octaves);
}

void CV_DSPObject::set_octave_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                                    double scale) noexcept
{
    targets.set_octave(count, periods, bounds, scale * period_scale);
}

void CV_DSPObject::set_samples_per_frame(double host_samples) noexcept
{
    samples_per_frame = host_samples > 0.0 ? host_samples : engine::default_samples_per_frame;
    frame_len = samples_per_frame / double(decimationFactor);
    tracker.set_scale(double(decimationFactor), engine_rate());
    update_frame_rate_values();
    publish_status();
}

void CV_DSPObject::set_position(int64_t host_position) noexcept
{
    const int64_t position = host_position / decimationFactor;
    input_pos = position;
    source_pos = time_warped() ? source_for(position) : position;
    cueing = true;
    const int64_t frame = int64_t(double(source_pos) / frame_len);
    frame_phase = double(source_pos) - double(frame) * frame_len;
    tracker.set_frame_index(frame);
    if (correcting()) play_frame();
    publish_status();
}

void CV_DSPObject::set_time_warping(bool on) noexcept
{
    if (on != time_map_on) source_stale = true;
    time_map_on = on;
}

void CV_DSPObject::begin_time_block() noexcept
{
    const TimeMap* newest = time_maps.acquire();
    if (newest != nullptr && newest != time_map) {
        time_map = newest;
        source_stale = true;
    }
    store_busy = store == nullptr || tracker.is_suspended() ? uint32_t(AudioDataStore::statusFilesMissing)
                                                            : uint32_t(store->getStatus());
    if (auto_mode) return;
    const bool hold = edit_hold.load(std::memory_order_acquire);
    if (hold && !edit_hold_seen) {
        edit_hold_seen = true;
    } else if (!hold && edit_hold_seen) {
        edit_hold_seen = false;
        source_stale = true;
    }
    if (source_stale) {
        source_stale = false;
        const bool locked = store_lock != nullptr && sem_trywait(store_lock) == 0;
        place_source();
        if (locked) sem_post(store_lock);
    }
}

void CV_DSPObject::place_source() noexcept
{
    const int64_t wanted =
        time_warped() ? source_for(input_pos) : input_pos;
    // Without a change the frames go on as they are: tracking and playing
    // without the map keep both clocks together.
    if (wanted == source_pos) return;
    source_pos = wanted;
    cueing = true;
    if (!idle && started) place_frames(source_pos);
}

void CV_DSPObject::place_frames(int64_t position) noexcept
{
    const int64_t frame = int64_t(double(position) / frame_len);
    frame_phase = double(position) - double(frame) * frame_len;
    if (frame == tracker.get_frame_index()) return;
    tracker.set_frame_index(frame);
    if (correcting()) play_frame();
}

int CV_DSPObject::choose_source(double live_a, double live_b) noexcept
{
    const bool locked = store_lock != nullptr && sem_trywait(store_lock) == 0;
    int status = 0;
    int count = 0;
    double t = output_for(source_pos);
    if (t <= double(input_pos)) {
        do {
            float a = 0.0f;
            float b = 0.0f;
            // After a failed read the source still moves on by the map, but
            // is read no further in this output sample.
            const int read = status != 0 ? status
                             : store_busy != 0 ? int(AudioDataStore::readUnusable)
                                               : store->readSample(source_pos, a, &b);
            if (status == 0) status = read;
            source_a[count] = double(a);
            source_b[count] = double(b);
            ++count;
            ++source_pos;
            t = output_for(source_pos);
        } while (double(input_pos) > t && count < max_source_samples);
    }
    if (locked) sem_post(store_lock);
    if (status == 0) {
        cueing = false;
        return count;
    }

    // One sample enters for the whole read: silence when the audio is not
    // in yet or cannot be read, the live input where nothing was recorded.
    // The frames stay on the source clock.
    const bool silent = status != AudioDataStore::readNothing || store_busy != 0;
    source_a[0] = silent ? 0.0 : live_a;
    source_b[0] = silent ? 0.0 : live_b;
    place_frames(source_pos - 1);
    // Reads that wait for the first block after the source was placed are
    // the cue of a start or a jump; once the audio flows, a read not in yet
    // means the disk fell behind the read-ahead.
    if (status == AudioDataStore::readPending && !cueing) {
        overrun_count.fetch_add(1, std::memory_order_relaxed);
        overrun_frame.store(int64_t(double(input_pos) / frame_len), std::memory_order_relaxed);
    }
    return 1;
}

void CV_DSPObject::update_frame_rate_values() noexcept
{
    const double sr = engine_rate();
    if (sr <= 0.0 || frame_len <= 0.0) return;
    const double frames_per_second = sr / frame_len;
    vibrato.set_frame_rate(frames_per_second);
    natural.set_frame_rate(frames_per_second);
}

void CV_DSPObject::configure_mix_filters() noexcept
{
    const double sr = engine_rate();
    if (sr <= 0.0) return;
    // A bell around the second formant region: the vowel brightens and
    // darkens with the vibrato.
    const double freq = std::fmin(1800.0, 0.4 * sr);
    for (auto& filter : mix_filter) {
        filter.set_sampleRate(sr);
        if (vib_formant == 0.0)
            filter.set_passthrough();
        else
            filter.init_Peaking_EQ(freq, 0.8, vib_formant);
    }
}

void CV_DSPObject::publish_status() noexcept
{
    constexpr auto relaxed = std::memory_order_relaxed;
    if (idle) {
        status.ratio.store(1.0, relaxed);
        status.frame.store(0, relaxed);
        status.period.store(0.0, relaxed);
        status.target.store(1.0, relaxed);
        return;
    }
    status.ratio.store(applied_ratio, relaxed);
    status.frame.store(int64_t(double(input_pos) / frame_len), relaxed);
    status.period.store(period_scale * detector.get_period(), relaxed);
    status.target.store(target_ratio, relaxed);
}

void CV_DSPObject::get_status(double* ratio, int64_t* frame, double* period, double* target) const noexcept
{
    constexpr auto relaxed = std::memory_order_relaxed;
    if (ratio) *ratio = status.ratio.load(relaxed);
    if (frame) *frame = status.frame.load(relaxed);
    if (period) *period = status.period.load(relaxed);
    if (target) *target = status.target.load(relaxed);
}

void CV_DSPObject::process_block(const float* const* in, float* const* out, int64_t frames) noexcept
{
    const float* second_in = stereo_in ? in[1] : in[0];
    const bool two_channels = stereo_out;
    begin_time_block();
    const bool warped = time_warped();

    for (int64_t i = 0; i < frames; ++i) {
        // Fetch.
        double primary;
        double secondary;
        if (two_channels && reference_channel != 0) {
            primary = taken_input(second_in[i]);
            secondary = taken_input(in[0][i]);
        } else if (two_channels) {
            primary = taken_input(in[0][i]);
            secondary = taken_input(second_in[i]);
        } else {
            primary = taken_input(in[0][i]);
            secondary = 0.0;
        }

        // Start: the first audible sample starts the clocks and frames. In
        // Graph mode the frames follow the host's timeline from the clock's
        // start, silence or not, so that frame i is host sample i * hop.
        if (!idle && !started && (!auto_mode || std::fabs(primary) > engine::start_threshold)) started = true;

        // Denormal noise, never zero, drawn apart for each channel; the
        // same values go with the stored samples.
        const double live_a = primary;
        const double live_b = secondary;
        const double noise_a = noise.denormal_noise();
        const double noise_b = two_channels ? noise.denormal_noise() : 0.0;
        primary += noise_a;
        secondary += noise_b;

        block_sample = i;
        if (!idle && started) {
            // Record: the source audio at its store position.
            tracker.record(source_pos, primary, secondary);
            if (warped) {
                const int count = choose_source(live_a, live_b);
                ++input_pos;
                for (int k = 0; k < count; ++k)
                    analyze_sample(source_a[k] + noise_a, two_channels ? source_b[k] + noise_b : 0.0, two_channels);
            } else {
                ++source_pos;
                ++input_pos;
                analyze_sample(primary, secondary, two_channels);
            }
        } else {
            analyze_sample(primary, secondary, two_channels);
        }
        output_sample(out, i, two_channels);
    }
    if (tracker.is_tracking()) tracker.end_block(frames);
    publish_status();
}

void CV_DSPObject::analyze_sample(double primary, double secondary, bool two_channels) noexcept
{
    if (!idle && started) {
        frame_phase += 1.0;
        const bool closing = frame_phase >= frame_len;
        if (closing) {
            frame_phase -= frame_len;
            close_frame();
        }
        tracker.level(primary, closing);
    }

    shifter.advance();
    shifter.store_input(primary, secondary);
    const int64_t newest = shifter.newest();

    switch (detector.process(primary, newest)) {
    case pitch_detector::outcome::none: break;
    case pitch_detector::outcome::cleared:
        frame_min_period = engine::no_min_period;
        frame_max_period = engine::no_max_period;
        natural.restart();
        break;
    case pitch_detector::outcome::decided: {
        const double period = detector.get_period();
        target_ratio = 1.0;
        if (frame_min_period > period) frame_min_period = period;
        if (frame_max_period < period) frame_max_period = period;
        correct();
        break;
    }
    case pitch_detector::outcome::lost: lose_lock(); break;
    }

    shifter.store_controls(detector.get_period(), detector.get_last_period(), applied_ratio * transpose_ratio);

    formants.pre_emphasize(shifter.input(0), newest, 0);
    if (two_channels) formants.pre_emphasize(shifter.input(1), newest, 1);
    formants.analyze_formants(shifter.periods(), newest, 0, detector.get_period(), detector.get_last_period(), bypass);
    const int channels = two_channels ? 2 : 1;
    for (int c = 0; c < channels; ++c) shifter.store_residual(c, formants.inverse_filter(newest, c));

    // Unvoiced where the audio is read and where it is written: the next
    // note starts its vibrato afresh.
    if (shifter.take_read_controls()) vibrato.clear();
    shifter.filter_read_ring(channels, bypass);
}

void CV_DSPObject::close_frame() noexcept
{
    if (auto_mode) {
        if (vibrato.is_vibrato_on() && detector.get_period() != 0.0)
            vibrato.frame_step(double(noise.next()) / double(Noise_Generator::max_value) - 0.5, frame_len);
        if (frame_max_period == engine::no_max_period)
            natural.unvoiced_frame();
        else
            natural.frame(0.5 * (frame_min_period + frame_max_period));
    } else {
        tracker.close_frame(frame_min_period, frame_max_period, block_sample);
        if (correcting()) play_frame();
    }
    frame_min_period = engine::no_min_period;
    frame_max_period = engine::no_max_period;
}

void CV_DSPObject::play_frame() noexcept
{
    player.begin_frame(tracker.get_frame_index(), double(decimationFactor), frame_len);
    const double now = formants.get_throat_ratio();
    if (now != throat_applied) throat_base = now;
    const double offset = player.get_throat_offset();
    const double wanted = offset == 0.0 ? throat_base : std::clamp(throat_base + offset, 0.5, 1.8);
    if (wanted != now) formants.set_throat_ratio(wanted);
    throat_applied = formants.get_throat_ratio();
    if (player.get_modulation_parameter() != vib_formant) {
        vib_formant = player.get_modulation_parameter();
        configure_mix_filters();
    }
}

void CV_DSPObject::correct() noexcept
{
    if (correcting()) {
        const double inverse = player.get_target_inv();
        if (inverse != 0.0) target_ratio = inverse * detector.get_period();
    } else if (auto_mode && targets.get_target_count() != 0) {
        const note_targets::found found = targets.search(detector.get_period(), period_scale, natural.get_slow_ratio());
        if (found.restarted) {
            retune.forget_note();
            vibrato.clear();
        }
        target_ratio = found.ratio;
        if (found.note >= 0) retune.note(found.note);
    }

    const double smooth_ratio = retune.smooth(target_ratio);
    applied_ratio = smooth_ratio;
    if (auto_mode) {
        if (vibrato.is_vibrato_on()) applied_ratio = vibrato.pitch_factor() * smooth_ratio;
        applied_ratio *= natural.get_natural_ratio();
    }
    // The vibrato stays out of the anti-alias filters' choice.
    shifter.check_anti_alias(smooth_ratio * transpose_ratio);
}

void CV_DSPObject::lose_lock() noexcept
{
    target_ratio = applied_ratio = 1.0;
    retune.release();
    natural.release();
    vibrato.clear();
}

void CV_DSPObject::output_sample(float* const* out, int64_t i, bool two_channels) noexcept
{
    const int channels = two_channels ? 2 : 1;
    double sample[max_channels] = {0.0, 0.0};
    const int64_t synth_pos = shifter.read_out(bypass, channels, sample);
    for (int c = 0; c < channels; ++c)
        sample[c] = formants.de_emphasize(c, formants.synthesis_filter(synth_pos, c, sample[c]));

    // Last stages: the vibrato's gain and formant mix, Auto mode's alone:
    // Graph mode takes them from its frames.
    double y = sample[0];
    double z = sample[1];
    // A gain, then a mix `m` (-1..1) of the sample and its filtered self.
    auto gain_and_mix = [&](double gain, double m) {
        y *= gain;
        const double f = mix_filter[0].process(y);
        y = ((m + 1.0) * y + (1.0 - m) * f) * 0.5;
        if (two_channels) {
            z *= gain;
            const double fz = mix_filter[1].process(z);
            z = ((m + 1.0) * z + (1.0 - m) * fz) * 0.5;
        }
    };
    if (auto_mode && vibrato.is_vibrato_on()) {
        if (shifter.voiced_at_output() && !bypass) {
            const double gain = vibrato.next_gain();
            gain_and_mix(gain, vibrato.mix());
        } else {
            y = mix_filter[0].process(y);
            if (two_channels) z = mix_filter[1].process(z);
        }
    }
    // Graph mode: the frame's gain and formant mix; neutral frames leave the
    // sample as it is.
    if (correcting() && !bypass) {
        const double gain = player.next_gain();
        gain_and_mix(gain, player.get_mix());
    }
    y = std::clamp(y, -engine::output_limit, engine::output_limit);
    z = std::clamp(z, -engine::output_limit, engine::output_limit);

    if (two_channels && reference_channel != 0) {
        out[0][i] = float(z);
        out[1][i] = float(y);
    } else if (two_channels) {
        out[0][i] = float(y);
        out[1][i] = float(z);
    } else {
        out[0][i] = float(y);
    }
}
