// Boost.JSON and Boost.URL compiled from source, so that the fuzzers see inside them.
#include <boost/json/src.hpp>
#include <boost/url/src.hpp>
