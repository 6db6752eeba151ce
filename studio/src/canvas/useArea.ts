// The part of the canvas around what is in sight. It changes when the sight leaves it, not with every frame of a pan.
import { useStoreApi } from "@xyflow/react";
import { useEffect, useState } from "react";
import { grown, type Box } from "./geometry";
import { plainBelow } from "./visible";

export interface Area {
    box: Box;
    zoom: number;
}

const margin = 0.4; // of the sight's size, on each side

export function useArea(): Area {
    const store = useStoreApi();
    const [area, setArea] = useState<Area>({ box: { x: 0, y: 0, width: 0, height: 0 }, zoom: 1 });
    useEffect(() => {
        let current: Area | null = null;
        const look = () => {
            const { transform: [tx, ty, zoom], width, height } = store.getState();
            const sight = { x: -tx / zoom, y: -ty / zoom, width: width / zoom, height: height / zoom };
            if (current) {
                const { box } = current;
                const inside = sight.x >= box.x && sight.y >= box.y && sight.x + sight.width <= box.x + box.width &&
                    sight.y + sight.height <= box.y + box.height;
                // zooming in far leaves an area that holds too much
                const fits = sight.width * 4 > box.width && sight.height * 4 > box.height;
                if (inside && fits && current.zoom < plainBelow === zoom < plainBelow) return;
            }
            current = { box: grown(sight, margin * Math.max(sight.width, sight.height)), zoom };
            setArea(current);
        };
        look();
        return store.subscribe(look);
    }, [store]);
    return area;
}
