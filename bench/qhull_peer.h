// Qhull as a peer: one computation on points of three coordinates, released with the object.
#pragma once

extern "C" {
#include <libqhull_r/libqhull_r.h>
}

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

class QhullPeer {
public:
    /// @param options  of the program of that name, "Pp" for silence among them
    QhullPeer(std::vector<double>& coordinates, std::string options) {
        qh_zero(&qh, stderr);
        std::string command = "qhull " + options;
        const int count     = static_cast<int>(coordinates.size() / 3);
        if (qh_new_qhull(&qh, 3, count, coordinates.data(), 0, command.data(), nullptr, stderr) !=
            0)
            std::abort();
    }
    ~QhullPeer() {
        int live = 0, bytes = 0;
        qh_freeqhull(&qh, 0);
        qh_memfreeshort(&qh, &live, &bytes);
    }
    QhullPeer(const QhullPeer&)            = delete;
    QhullPeer& operator=(const QhullPeer&) = delete;

    qhT qh;
};
