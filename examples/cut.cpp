// Keeps two pieces of a file: cut IN OUT. Tells what it will do, how far it is, and what it has done.

#include "jobs/cut/CutJob.h"
#include "jobs/reports/Documents.h"

#include <iostream>
#include <nlohmann/json.hpp>

using namespace Tessor;

class Percent final : public Jobs::IProgress
{
    void Tell(double done, avTime) override { std::cerr << "\r" << static_cast<int>(100 * done) << " %"; }
    void Finish(avTime) override { std::cerr << "\r100 %\n"; }
    bool IsCancelled() const override { return false; } // true ends the job, and leaves nothing of its result
};

int main(int argc, char** argv)
try
{
    Jobs::CutSettings settings;
    settings.input = argc > 1 ? argv[1] : "in.mp4";
    settings.output = argc > 2 ? argv[2] : "out.mp4";
    settings.keep.times = {{500000, 2000000}, {3000000, 4200000}}; // microseconds, ends exclusive
    const Jobs::CutJob job(settings);
    Percent progress;
    for (const Jobs::GroupPlan& row : job.Plan(progress).groups)
        std::cout << T2S(row.group.start) << " " << Jobs::ActionName(row.action) << ": " << row.reason << "\n";
    std::cout << Jobs::Serialize(Jobs::ToJson(job.Run(progress))) << "\n";
}
catch (const std::exception& e) // a JobError has its kind
{
    std::cerr << "cut: " << e.what() << "\n";
    return 1;
}
