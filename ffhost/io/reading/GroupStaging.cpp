#include "ffhost/io/reading/GroupStaging.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>

namespace Tessor::Host
{

namespace
{

// H.264 and HEVC reorder up to 16 pictures, fields of their own up to twice as many. What is longer is a damaged clock,
// which must not have the whole track staged.
constexpr size_t MAX_LOOK_AHEAD = 64;

// TrackTimes hides the key flag of the last packet alone.
bool IsLast(const Proc::DataPacketFF& packet)
{
    return packet.GetFacts().hiddenKey;
}

} // namespace

void GroupStaging::Push(Packet packet)
{
    newestDts = packet->GetDTS();
    staged.push_back(std::move(packet));
    Process();
}

void GroupStaging::Finish()
{
    ended = true;
    Process();
}

GroupStaging::Packet GroupStaging::Pop()
{
    Packet packet = std::move(ready.front());
    ready.pop_front();
    return packet;
}

void GroupStaging::Restart(avTime newTarget, bool atFileStart)
{
    ready.clear();
    DropStaged();
    held = false;
    resumeAfter = deliveredTime = end = NoTime;
    start = atFileStart ? Start::OfFile : Start::Entry;
    target = newTarget;
    // From the beginning on, what comes first will do when no key packet lies at or before the target.
    landing = newTarget == NoTime ? Landing::Done : atFileStart ? Landing::Found : Landing::Searching;
}

void GroupStaging::Jump(std::optional<avTime> newTarget)
{
    DropStaged();
    held = true;
    resumeAfter = deliveredTime;
    start = Start::Entry;
    target = newTarget.value_or(NoTime);
    landing = newTarget ? Landing::Searching : Landing::Awaiting;
}

// Reading goes on at another place.
void GroupStaging::DropStaged()
{
    staged.clear();
    leadIns.Forget();
    ended = false;
    searched = 0;
    droppedBefore = newestDts = landedTime = groupStart = NoTime;
}

void GroupStaging::LandAt(avTime newTarget)
{
    target = newTarget;
    landing = Landing::Searching;
    searched = 0;
    Process();
}

void GroupStaging::Resume()
{
    held = false;
    Process();
}

// There is a target.
bool GroupStaging::IsLanding() const
{
    return landing == Landing::Searching || landing == Landing::Found || landing == Landing::Skipping;
}

// Lays out what is staged, as far as it can be told: up to a key packet whose leading pictures may still come, or into
// a stretch that is left out.
void GroupStaging::Process()
{
    if (IsLanding())
        Land();
    if (landing != Landing::Done || held)
        return;
    while (!staged.empty())
    {
        if (staged.front()->IsKeyFrame())
        {
            if (!ProcessKey())
                return;
            continue;
        }
        const Packet packet = staged.front();
        staged.pop_front();
        if (droppedBefore == NoTime || packet->GetPTS() >= droppedBefore)
            Deliver(packet);
    }
}

// True when it is known where reading begins: what is staged then starts there.
bool GroupStaging::Land()
{
    while (searched < staged.size())
    {
        const Proc::DataPacketFF& packet = *staged[searched];
        // beforehand: TakeKey drops packets, and may drop this one
        const avTime dts = packet.GetDTS();
        const bool candidate = packet.IsKeyFrame() && packet.GetPTS() <= target;
        // undecided: what comes next tells whether it begins a group
        if (candidate && !ended && !HasFollower(searched))
            return false;
        if (candidate && HasFollower(searched))
            TakeKey(packet.GetPTS());
        else
            ++searched;
        // What is decoded later is shown later: no key packet up to the target comes any more.
        if (dts > target)
            return EndLanding();
    }
    return ended && EndLanding();
}

// The key packet at `searched` is the best one so far, unless the one taken before has the same stamp: what starts
// there holds both. One that was delivered before the jump is dropped itself, and its group goes on after it.
void GroupStaging::TakeKey(avTime time)
{
    const bool repeated = resumeAfter != NoTime && time <= resumeAfter;
    if (!repeated && time <= landedTime)
    {
        ++searched;
        return;
    }
    const bool firstOfFile = start == Start::OfFile && landedTime == NoTime && searched == 0;
    if (!firstOfFile)
        start = repeated ? Start::Sequence : Start::Entry;
    // its leading pictures lie before, in deleted time
    droppedBefore = repeated ? time : NoTime;
    landedTime = time;
    landing = landing == Landing::Searching ? Landing::Found : landing;
    staged.erase(staged.begin(), staged.begin() + static_cast<std::ptrdiff_t>(searched + repeated));
    searched = repeated ? 0 : 1;
}

bool GroupStaging::EndLanding()
{
    landing = landing == Landing::Searching ? Landing::Missed : Landing::Done;
    resumeAfter = NoTime;
    return landing == Landing::Done;
}

void GroupStaging::AcceptMissed()
{
    landing = Landing::Done;
    start = Start::OfFile;
    Process();
}

// False when more packets have to come first, or those that follow are left out.
bool GroupStaging::ProcessKey()
{
    if (video && !KnowsLeading())
        return false;
    // KnowsLeading has seen to it that what is missing will never come
    if (start == Start::Sequence && !HasFollower(0))
    {
        JoinGroupBefore();
        return true;
    }
    if (video && cut && start == Start::Sequence)
        EnterKey(*staged.front());
    const Packet key = staged.front();
    droppedBefore = video && start == Start::Entry ? key->GetPTS() : NoTime;
    SetKeyPosition(*key);
    key->SetEntered(video && start == Start::Entry);
    staged.pop_front();
    Deliver(key);
    start = Start::Sequence;
    groupStart = key->GetPosition();
    SkipFrom(*key);
    return landing == Landing::Done || Land();
}

// Whether a group goes on after its key packet's leading pictures, or another one comes.
bool GroupStaging::HasFollower(size_t key) const
{
    return !video || std::any_of(staged.begin() + static_cast<std::ptrdiff_t>(key) + 1, staged.end(),
                                 [&](const Packet& packet)
                                 { return packet->IsKeyFrame() || packet->GetPTS() > staged[key]->GetPTS(); });
}

// As with the last packet of a track: alone, a key packet would make a group that ends where it starts.
void GroupStaging::JoinGroupBefore()
{
    const Packet key = staged.front();
    staged.pop_front();
    key->HideKey();
    Deliver(key);
}

// A group in sequence is entered all the same where the cut leaves nothing before it unchanged that its leading
// pictures could lean on.
void GroupStaging::EnterKey(const Proc::DataPacketFF& key)
{
    const avTime first = FirstShown();
    const bool encodedBefore = groupStart != NoTime && cut->IsPartlyKept(groupStart, first);
    if (encodedBefore && first < key.GetPTS())
        CloseGroup();
    // a leading picture that is kept holds its group together
    if (encodedBefore || (cut->IsKeptStart(key.GetPTS()) && cut->IsDeleted(first, key.GetPTS())))
        start = Start::Entry;
}

// The leading pictures of the staged group go to the end of the group before.
void GroupStaging::CloseGroup()
{
    const avTime shown = staged.front()->GetPTS();
    size_t count = 1;
    for (size_t i = 1; i < staged.size() && !staged[i]->IsKeyFrame(); ++i)
        count = staged[i]->GetPTS() < shown ? i + 1 : count;
    const avTime seam = end;
    for (size_t i = 0; i < count; ++i)
    {
        // a copy, which shares the bytes: the packet itself is still to come in its own group
        const Packet packet = static_cast<Proc::DataPacketFF*>(staged[i]->Clone().get());
        AVPacket& record = *packet->GetAVPacket();
        record.flags &= ~AV_PKT_FLAG_KEY;
        if (packet->GetPTS() >= shown)
            record.flags |= AV_PKT_FLAG_DISCARD;
        packet->SetLeadIn({});
        packet->SetPosition(seam);
        ready.push_back(packet);
    }
}

// Leading pictures are decoded before the key picture's own time comes.
bool GroupStaging::KnowsLeading() const
{
    if (ended || staged.size() > MAX_LOOK_AHEAD)
        return true;
    return std::any_of(staged.begin() + 1, staged.end(),
                       [&](const Packet& packet)
                       { return packet->IsKeyFrame() || packet->GetDTS() >= staged.front()->GetPTS(); });
}

avTime GroupStaging::FirstShown() const
{
    avTime first = staged.front()->GetPTS();
    for (size_t i = 1; i < staged.size() && !staged[i]->IsKeyFrame(); ++i)
        first = std::min(first, staged[i]->GetPTS());
    return first;
}

void GroupStaging::SetKeyPosition(Proc::DataPacketFF& key)
{
    key.SetPosition(key.GetPTS());
    if (!video || start == Start::Entry)
        return;
    const avTime first = FirstShown();
    const bool open = start == Start::Sequence && first < key.GetPTS();
    key.SetPosition(open ? StartOfOpenGroup(first) : first);
    if (open)
        key.SetLeadIn(leadIns.Take());
}

// Copied whole, a group would begin with pictures whose reference, the last picture of the group before, is cut away:
// it must count as cut itself, and so begins in deleted time.
avTime GroupStaging::StartOfOpenGroup(avTime first) const
{
    const auto lost = cut && newestShown != NoTime ? cut->FindStretch(newestShown) : std::nullopt;
    return lost && lost->end <= first ? lost->end - 1 : first;
}

void GroupStaging::Deliver(const Packet& packet)
{
    const bool key = packet->IsKeyFrame();
    const avTime shownUntil = AddTime(packet->GetPTS(), packet->GetDuration());
    // after an entry the group shows from its key picture on, which may lie before what was shown last
    const bool anew = end == NoTime || (key && start == Start::Entry);
    const bool hidden = (packet->GetAVPacket()->flags & AV_PKT_FLAG_DISCARD) != 0;
    if (anew || !hidden)
    {
        end = anew ? shownUntil : std::max(end, shownUntil);
        newestShown = anew ? packet->GetPTS() : std::max(newestShown, packet->GetPTS());
    }
    if (!key)
        // sound lies at its own time; a track's last packet at its end, which a cut would otherwise never see reached
        packet->SetPosition(video || IsLast(*packet) ? end : packet->GetPTS());
    deliveredTime = packet->GetPTS();
    if (video)
        leadIns.Add(*packet);
    ready.push_back(packet);
}

// What follows a key packet in deleted time is not wanted up to the last key packet before the stretch ends.
void GroupStaging::SkipFrom(const Proc::DataPacketFF& packet)
{
    const auto stretch = leftOut ? leftOut->FindStretch(packet.GetPosition()) : std::nullopt;
    if (!stretch)
        return;
    target = stretch->end;
    resumeAfter = packet.GetPTS();
    skipOrigin = packet.GetPosition();
    searched = 0;
    landing = Landing::Skipping;
}

} // namespace Tessor::Host
