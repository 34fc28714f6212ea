// Pulls what is left of a film through a cut controller, packet by packet: what a host does that has a muxer of its
// own.

#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/io/reading/Demuxer.h"

#include <iostream>

int main(int argc, char** argv)
try
{
    if (argc != 2)
        throw std::invalid_argument("usage: streams FILE");
    const auto demuxer = Tessor::Host::Demuxer::Open(argv[1]);
    Tessor::Proc::SettingsFilterCutController cut;            // all is deleted ...
    cut.AddInterval(2000000, 5000000, Tessor::NoTime, false); // ... but two to five seconds
    const auto controller = Tessor::Proc::FilterCutController::Create(cut, Tessor::Host::CodecFactory::Create());
    const auto video = controller->AddStream(demuxer->GetStream(0));
    video->RequestSeek(0, nullptr);
    video->DoSeek();
    while (const auto packet = video->Read()) // times are closed up, from 0 on
        std::cout << Tessor::T2S(packet->GetPTS()) << (packet->IsKeyFrame() ? " key " : " ") << packet->GetSize()
                  << "\n";
    return 0;
}
catch (const std::exception& e)
{
    std::cerr << "streams: " << Tessor::Describe(e) << "\n";
    return 1;
}
