# The one list of source families: each has include/NAME.h, src/NAME.cpp and tests/unit/NAME_test.cpp. A large one has
# more sources, one per topic, whose names begin with the family's.
set(TARVEL_FAMILIES
  kest_conf
  string_bundle
  tarvel
  form_handler
  app_banner
  mobile_detector
  ofc_chart
  webutils
  template
  http_file_outputer
  schedule
  vhost
  volume
  storage
  disk
  user
  group
  share
  file_share
)
