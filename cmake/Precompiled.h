// What nearly every source includes and what changes rarely.
#include <boost/exception/all.hpp>
#include <boost/exception_ptr.hpp>
#include <boost/rational.hpp>
#include <boost/thread.hpp>
#include <glog/logging.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>
