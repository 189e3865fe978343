// The observer base: every notification is accepted and ignored.
#include "host/output/OmFactory.h"

OmFactory::Observer::~Observer() = default;
void OmFactory::Observer::EndProcedure(OmOutputTree& /*tree*/) {}
bool OmFactory::Observer::doAppend() const {
  return true;
}
void OmFactory::Observer::LogLine(std::string /*line*/) {}
void OmFactory::Observer::FlushLog() {}
void OmFactory::Observer::EndLog() {}
void OmFactory::Observer::SetPageTitle(const std::string& /*title*/, std::string& /*subtitle*/) {}
void OmFactory::Observer::PostAppend(OmOutputTree& /*tree*/) {}
void OmFactory::Observer::ChartDone(OmChart* /*chart*/) {}
