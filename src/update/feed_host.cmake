# The host that the program asks for its feed, https://HOST/appcast.json. Each system has one of its
# own: a feed names one archive, and what is in it runs on one system.
set(KORVEL_FEED_HOST_Darwin "updates.oxbrook.example")
set(KORVEL_FEED_HOST_Linux "linux.updates.oxbrook.example")
set(KORVEL_UPDATE_HOST "${KORVEL_FEED_HOST_${CMAKE_SYSTEM_NAME}}" CACHE STRING "The host of the release feed")
if(KORVEL_UPDATE_HOST STREQUAL "")
    message(FATAL_ERROR "KORVEL_UPDATE_HOST is empty: there is no feed for ${CMAKE_SYSTEM_NAME} but one that is named")
endif()
