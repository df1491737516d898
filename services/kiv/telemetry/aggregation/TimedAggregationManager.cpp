#include "TimedAggregationManagerImpl.h"
#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"

namespace android::kiv {

template class TimedAggregationManager<KivErrorCodeEvent>;
template class TimedAggregationManager<KivStreamEvent>;
template class TimedAggregationManager<KivAudioLatencyEvent>;
template class TimedAggregationManager<KivGenericEvent<long long>>;
template class TimedAggregationManager<KivGenericEvent<float>>;
template class TimedAggregationManager<KivGenericEvent<std::string>>;

}  // namespace android::kiv
