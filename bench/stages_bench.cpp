// The stages of a sweep that the public interface reaches. One iteration of a sweep times all its
// calls; their medians become counters in seconds with the stage's name.
#include <time.h>

#include <algorithm>
#include <map>

#include "benchmarks.h"
#include "levels.h"
#include "sweep_pictures.h"
#include "warm_memory.h"

namespace
{

// A library at one of its levels: null leaves the choice to the library.
struct Contender {
    Library library;
    const ozr::kernels::Kernels* level;

    std::string name() const { return level != nullptr ? level->level : library.name; }
};

// Processor time of this process: others use the machine too.
double cpu_seconds()
{
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The times of the calls of one kind of stage.
class CallTimes
{
public:
    template <class Call>
    ozr_err time(const char* stage, Call call)
    {
        const double start = cpu_seconds();
        const ozr_err result = call();
        seconds_[stage].push_back(cpu_seconds() - start);
        return result;
    }

    void report(benchmark::State& state)
    {
        for (auto& [stage, seconds] : seconds_) {
            const auto middle = seconds.begin() + static_cast<ptrdiff_t>(seconds.size() / 2);
            std::nth_element(seconds.begin(), middle, seconds.end());
            state.counters[stage] = *middle;
        }
    }

private:
    std::map<std::string, std::vector<double>> seconds_;
};

// One preview frame: the camera trembles, so that no picture falls due.
void preview_frame(benchmark::State& state, const Library& library, Size size)
{
    const std::vector<Nv12Picture>& frames = preview_frames(size);
    const Session session = create_session(library, ozr_panorama_quality_classic);
    ozr_image first = frames[0].image;
    fail_unless(state, library.stitch_one_image(session.get(), &first, nullptr) == ozr_success);
    size_t frame = 0;
    for (auto _ : state) {
        frame = (frame + 1) % frames.size();
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        fail_unless(state, library.detect_frame_to_stitch(session.get(), &frames[frame].image, &offset,
                                                          &direction) == ozr_success);
    }
}

void sweep(benchmark::State& state, const Library& library, ozr_panorama_quality quality,
           const SweepPlan& plan)
{
    std::vector<Nv12Picture>& pictures = sweep_pictures(plan);
    const char* const stages[] = {"first_picture", "second_picture", "later_picture"};
    const ozr_point offset = {plan.step(), 0};
    CallTimes times;
    warm_memory(plan.size);
    for (auto _ : state) {
        const Session session = create_session(library, quality);
        for (size_t i = 0; i < pictures.size(); ++i) {
            fail_unless(state, times.time(stages[std::min<size_t>(i, 2)], [&] {
                return library.stitch_one_image(session.get(), &pictures[i].image, &offset);
            }) == ozr_success);
        }
        ozr_image panorama = {};
        fail_unless(state,
                    times.time("run", [&] { return library.run(session.get(), &panorama); }) == ozr_success);
        // A panorama that ends early would look fast.
        fail_unless(state, panorama.width > (plan.pictures - 1) * plan.step());
    }
    times.report(state);
}

template <class Stage>
benchmark::internal::Benchmark* add(const std::string& name, const Contender& contender, Stage stage)
{
    return benchmark::RegisterBenchmark(("stage/" + name + "/" + contender.name()).c_str(),
                                        [contender, stage](benchmark::State& state) {
                                            ozr::kernels::set_for_test(contender.level);
                                            stage(state, contender.library);
                                            ozr::kernels::set_for_test(nullptr);
                                        })
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
}

void add_stages(const Contender& contender)
{
    for (const Size size : {kPreviewSize, kScreenSize})
        add("preview_frame/" + size.text(), contender,
            [size](benchmark::State& state, const Library& library) { preview_frame(state, library, size); });
    const auto add_sweep = [&](const SweepPlan& plan, int64_t sweeps) {
        add(plan.text(), contender, [plan](benchmark::State& state, const Library& library) {
            sweep(state, library, ozr_panorama_quality_classic, plan);
        })->Iterations(sweeps);
        if (contender.library.set_quality == nullptr)
            return;
        add("refined_" + plan.text(), contender, [plan](benchmark::State& state, const Library& library) {
            sweep(state, library, ozr_panorama_quality_refined, plan);
        })->Iterations(sweeps);
    };
    add_sweep(kScreenSweep, 3);
    add_sweep(kPhotoSweep, 1);
}

}  // namespace

void add_stage_benchmarks(const std::vector<Library>& others)
{
    for (const ozr::kernels::Kernels* level : bench_stage_levels())
        add_stages({own_library(), level});
    for (const Library& library : others)
        add_stages({library, nullptr});
}
