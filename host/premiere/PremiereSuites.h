// The suites a Premiere Pro GPU filter acquires, as our host serves them:
// "MediaCore GPU Device Suite" 2, "MediaCore GPU Image Processing Suite" 1,
// "Premiere Memory Manager Suite" 4, "Premiere PPix Suite" 1,
// "Premiere PPix 2 Suite" 3, "PF Transition Suite" 2,
// "MediaCore Video Segment Suite" 6 and "Premiere Time Suite" 1.
//
// Every function records its call as "<suite name>.<function>" in the
// runtime's fault plan, which can fail it; it then returns the planned code
// (a non-negative plan becomes suiteError_Fail, so a planned failure always
// reads as one). The functions find their host through the calling thread's
// current runtime (PremiereHost::Current) and answer suiteError_InvalidCall
// when there is none. A frame handle the host did not make is answered with
// suiteError_InvalidParms.
#pragma once

namespace dshost {

class HostRuntime;

void PublishPremiereSuites(HostRuntime& runtime);

}  // namespace dshost
